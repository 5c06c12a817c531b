/* Control interface of the simulated programmer in library kx6io.
 *
 * The library stands where the hardware stands: its transfer functions usbcomwrite, usbbulkwrite
 * and usbbulkread take the plug-in's packets, and the functions below are what a host uses to put a
 * chip into the socket, to say which device it is, to fetch status reports and to order faults.
 *
 * A process has one programmer; its functions may be called from any thread, one call runs at a
 * time. Functions that return kx6sim_status leave everything as it was when they fail; the text of
 * the newest failure stands in kx6sim_last_error. Texts and paths are UTF-8. No call throws. */
#ifndef KX6SIM_H
#define KX6SIM_H

#include <stddef.h>
#include <stdint.h>

#if !defined(_WIN32)
#define KX6SIM_API __attribute__((visibility("default")))
#elif defined(kx6io_EXPORTS) || defined(kx3io_EXPORTS) /* in the libraries themselves */
#define KX6SIM_API __declspec(dllexport)
#else
#define KX6SIM_API __declspec(dllimport)
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/* Changes when a declaration of this file changes in a way that callers notice. */
#define KX6SIM_INTERFACE_VERSION 1

#define KX6SIM_REPORT_BYTES 20
#define KX6SIM_MAX_DEVICE_CODES 7
#define KX6SIM_CONFIGURATION_BYTES 64

typedef int32_t kx6sim_status;
enum {
    KX6SIM_OK = 0,
    KX6SIM_BAD_ARGUMENT = 1, /* a value outside its limits; the text names it */
    KX6SIM_NO_CHIP = 2,      /* the socket is empty */
    KX6SIM_FILE_MISSING = 3, /* there is no such chip file */
    KX6SIM_FILE_INVALID = 4, /* wrong magic, version, size or checksum, cut short */
    KX6SIM_FILE_UNREADABLE = 5,
    KX6SIM_FILE_NOT_WRITABLE = 6,
    KX6SIM_WRONG_CHIP = 7, /* the chip's sizes are not those of the device */
    KX6SIM_OUT_OF_MEMORY = 8,
    KX6SIM_REFUSED = 9, /* a fault says so, or the chip is protected */
    KX6SIM_INTERNAL_ERROR = 10
};

/* The chip's maker byte and 1 to KX6SIM_MAX_DEVICE_CODES device-code bytes. */
typedef struct kx6sim_identity {
    uint8_t maker;
    uint8_t code_count;
    uint8_t codes[KX6SIM_MAX_DEVICE_CODES];
} kx6sim_identity;

/* The twin driver module that the device belongs to; they differ in data banks and end rounding. */
enum { KX6SIM_MODULE_ARM_PRG = 0, KX6SIM_MODULE_ARM_PRG_32F = 1, KX6SIM_MODULE_NONE = 2 };

/* The device as the host prepares it. Sizes count in addresses of `bytes_per_address` bytes. */
typedef struct kx6sim_geometry {
    int32_t addresses;         /* device size, tlength(0); above 0 */
    int32_t bytes_per_address; /* wordmode(0): 1 or 2 */
    int32_t block_addresses;   /* ramlg(0): addresses of one run */
    int32_t first_address;     /* wltbigendbuf(0) */
    int32_t verify_margin;     /* wlverifyvcc(0): above 0 gives a second verify pass */
    int32_t eeprom_bytes;      /* EEPROM of a non-ARM device, 0 when it has none */
    uint8_t bank;              /* rambknum(0) */
    uint8_t family;            /* prgmode(0) */
    uint8_t module;            /* KX6SIM_MODULE_... */
    uint8_t protect_in_auto;   /* nonzero: an auto sequence ends with the protection stage */
} kx6sim_geometry;

/* Calls and bytes since the last kx6sim_reset or kx6sim_set_faults. */
typedef struct kx6sim_counters {
    uint64_t command_packets; /* calls of usbcomwrite */
    uint64_t bulk_writes;
    uint64_t bulk_reads;
    uint64_t reports;          /* calls of kx6sim_fetch_report */
    uint64_t bytes_written;    /* accepted data bytes */
    uint64_t bytes_read;       /* delivered data bytes */
    uint64_t runs;             /* run packets that started an operation */
    uint64_t stops;            /* stop packets */
    uint64_t rejected_packets; /* packets that break a rule of the protocol */
    uint64_t unfetched_bytes;  /* device data that read runs offered and nobody fetched, since the
                                  last kx6sim_prepare */
} kx6sim_counters;

/* Areas of a chip. Offsets and counts are bytes. */
enum { KX6SIM_AREA_MAIN = 0, KX6SIM_AREA_EEPROM = 1, KX6SIM_AREA_CONFIGURATION = 2 };

/* First place where a chip differs from what was wanted. */
typedef struct kx6sim_difference {
    uint64_t offset;
    uint8_t device;
    uint8_t wanted;
} kx6sim_difference;

KX6SIM_API uint32_t kx6sim_interface_version(void);

/* Text of the newest failure on this thread; valid until the thread's next call. */
KX6SIM_API const char *kx6sim_last_error(void);

/* What the programmer objected to last (short block data, a packet of a wrong length, ...), empty
 * when nothing; valid until the thread's next call. For a log: the plug-in itself only sees the
 * events of the status reports. */
KX6SIM_API const char *kx6sim_trouble(void);

/* State after switching on: empty socket, no algorithm, no faults, firmware version 1. */
KX6SIM_API void kx6sim_reset(void);

/* --- The chip ------------------------------------------------------------------------------- */

/* Put a fresh, erased chip into the socket. */
KX6SIM_API kx6sim_status kx6sim_insert_blank_chip(uint64_t main_bytes, uint64_t eeprom_bytes,
                                                  const kx6sim_identity *identity);
/* Put the chip of a file into the socket. */
KX6SIM_API kx6sim_status kx6sim_load_chip(const char *path);
/* Write the chip to a file: a temporary file beside it, then a rename. */
KX6SIM_API kx6sim_status kx6sim_save_chip(const char *path);
/* 1 when the chip has changed since it was inserted, loaded or saved. */
KX6SIM_API int32_t kx6sim_chip_changed(void);
KX6SIM_API int32_t kx6sim_chip_protected(void);
/* Bytes of an area; 0 when the socket is empty. */
KX6SIM_API uint64_t kx6sim_area_bytes(int32_t area);
KX6SIM_API kx6sim_status kx6sim_get_identity(kx6sim_identity *identity);
KX6SIM_API kx6sim_status kx6sim_set_identity(const kx6sim_identity *identity);
/* Look into the chip, or change it, without the rules of flash memory. */
KX6SIM_API kx6sim_status kx6sim_peek(int32_t area, uint64_t offset, uint8_t *destination, uint64_t count);
KX6SIM_API kx6sim_status kx6sim_poke(int32_t area, uint64_t offset, const uint8_t *source, uint64_t count);
KX6SIM_API kx6sim_status kx6sim_flip_bit(int32_t area, uint64_t offset, uint8_t bit);

/* --- Work on a chip that is driven pin by pin (non-ARM devices) ------------------------------ */

/* Erase every area and the protection. */
KX6SIM_API kx6sim_status kx6sim_chip_erase(void);
/* As flash does: bits only become 0, EEPROM and configuration bytes take any value. A byte that
 * cannot become what is wanted ends the call: *differs is 1 and *difference says where. */
KX6SIM_API kx6sim_status kx6sim_chip_program(int32_t area, uint64_t offset, const uint8_t *source, uint64_t count,
                                             int32_t *differs, kx6sim_difference *difference);
/* First byte of the main area, then of the EEPROM, that is not FF. */
KX6SIM_API kx6sim_status kx6sim_chip_blank_check(int32_t *differs, kx6sim_difference *difference);
/* As kx6sim_peek, but a protected chip refuses. */
KX6SIM_API kx6sim_status kx6sim_chip_read(int32_t area, uint64_t offset, uint8_t *destination, uint64_t count);
KX6SIM_API kx6sim_status kx6sim_chip_protect(void);

/* --- The programmer ------------------------------------------------------------------------- */

KX6SIM_API void kx6sim_set_firmware_version(uint8_t version);

/* Order faults, replacing earlier ones: a comma-separated list as simulator/README.md describes, empty
 * for none. Starts the counters, and with them the counting of calls, anew. `seed` decides where
 * corrupt data are corrupt. */
KX6SIM_API kx6sim_status kx6sim_set_faults(const char *faults, uint64_t seed);

/* 1 when a session must not start. */
KX6SIM_API int32_t kx6sim_start_check(void);
/* A device is selected and powered. The chip in the socket must have its sizes. Forgets the
 * algorithm image and whatever was under way. */
KX6SIM_API kx6sim_status kx6sim_prepare(const kx6sim_geometry *geometry);
/* Power down: ends a running operation and forgets a pending bulk read. */
KX6SIM_API void kx6sim_end_operation(void);
/* One step of time: a pending bulk read comes nearer to its end. Call it in every yield. */
KX6SIM_API void kx6sim_advance(void);
/* The next status report. 0 means that none came, and `report` is untouched. */
KX6SIM_API int32_t kx6sim_fetch_report(uint8_t report[KX6SIM_REPORT_BYTES]);
KX6SIM_API void kx6sim_get_counters(kx6sim_counters *counters);

#if defined(__cplusplus)
}
#endif

#endif
