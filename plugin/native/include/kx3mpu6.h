/* kx3mpu6: the plug-in for every host that is not a 32-bit Windows one.
 *
 * A host creates the shared blocks (kx3_block_create), hands over its callbacks (kx3_set_ui,
 * kx3_set_session_host), creates the entry class (kx3_mpu_create) and calls its operations.
 *
 * Threads: everything but the strings and the blocks belongs to the calling thread; two threads
 * have two independent sets of callbacks, bindings and windows. An entry object is used and
 * released on the thread that created it.
 *
 * Failures: a function that can fail returns KX3_OK or the number of a run-time error (KX3_OVERFLOW
 * and so on); kx3_last_error gives its description. No C++ exception crosses this interface. A
 * callback must not throw or longjmp either; it reports failure by its status.
 *
 * Structures begin with `struct_size` = sizeof the structure as its user knows it, so that later
 * versions can append members. Whoever passes one to the library sets it, best by the structure's
 * initialiser, `kx3_form_info info = kx3_form_info_init();`. Members that a host leaves out count as
 * 0; the library fills no more of a structure than its user knows. A `struct_size` that is not set is
 * KX3_INVALID_CALL. Only kx3_text, a pair of pointer and length, stays as it is.
 */
#ifndef KX3MPU6_H
#define KX3MPU6_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define KX3_API __attribute__((visibility("default")))
#else
#define KX3_API
#endif

/* Defines TYPE_init(), which gives a structure of zeros with its struct_size. */
#define KX3_INITIALISER(type)                                                                                          \
    static inline type type##_init(void) {                                                                             \
        type made;                                                                                                     \
        memset(&made, 0, sizeof made);                                                                                 \
        made.struct_size = sizeof made;                                                                                \
        return made;                                                                                                   \
    }

/* Version of this interface: raised only when something is taken away or changes its meaning. */
#define KX3_ABI_VERSION 1

/* Status of a call: KX3_OK, or the number of a run-time error. Fixed values. */
typedef int32_t kx3_status;
enum {
    KX3_OK = 0,
    KX3_INVALID_CALL = 5,
    KX3_OVERFLOW = 6,
    KX3_OUT_OF_MEMORY = 7,
    KX3_SUBSCRIPT = 9,
    KX3_ARRAY_LOCKED = 10,
    KX3_DIVISION_BY_ZERO = 11,
    KX3_TYPE_MISMATCH = 13,
    KX3_LOAD_LIBRARY = 48,
    KX3_INTERNAL = 51,
    KX3_BAD_NAME = 52,
    KX3_FILE_NOT_FOUND = 53,
    KX3_DEVICE_IO = 57,
    KX3_ALREADY_EXISTS = 58,
    KX3_NO_SPACE = 61,
    KX3_TOO_MANY_FILES = 67,
    KX3_PERMISSION_DENIED = 70,
    KX3_BAD_NAMESPACE = 76,
    KX3_OBJECT_NOT_SET = 91,
    KX3_RESOURCE_NOT_FOUND = 326,
    KX3_CANNOT_CREATE_OBJECT = 429,
    KX3_MEMBER_NOT_FOUND = 438,
    KX3_AUTOMATION = 440,
    KX3_NOT_AVAILABLE = 445,
    KX3_ENTRY_POINT_NOT_FOUND = 453
};

/* KX3_ABI_VERSION of the library that is loaded. */
KX3_API uint32_t kx3_abi_version(void);
/* Version of the product, "MAJOR.MINOR.PATCH". */
KX3_API const char *kx3_version(void);
/* Description of the calling thread's last failed call, UTF-8; "" before the first. Valid until the
 * thread's next call of this library. */
KX3_API const char *kx3_last_error(void);

/* ---- Strings ---------------------------------------------------------------------------------
 * An element of a String block is a 32-bit handle of a UTF-16 text of this process; 0 is empty.
 * Storing a text means: allocate the new one, put its handle into the element, free the old one. */

/* Copy `length` UTF-16 units into a new handle. */
KX3_API kx3_status kx3_string_alloc(const uint16_t *text, size_t length, uint32_t *handle);
/* Copy at most `capacity` units of the text into `buffer` (which may be NULL when capacity is 0) and
 * set `length` to the text's whole length. KX3_INVALID_CALL for a handle that is not alive. */
KX3_API kx3_status kx3_string_read(uint32_t handle, uint16_t *buffer, size_t capacity, size_t *length);
/* Free the text; 0 and unknown handles are left alone. */
KX3_API void kx3_string_free(uint32_t handle);

/* ---- Shared blocks ---------------------------------------------------------------------------
 * A block lives as long as some process holds it open, and no longer. Blocks are private to the
 * user. Hosts that set the environment variable KX3MPU6_NAMESPACE (letters, digits, '-', '_') see
 * only blocks of hosts with the same value. */

/* Element types of blocks. */
enum {
    KX3_BYTE = 0,    /* unsigned 8-bit */
    KX3_BOOLEAN = 1, /* 16-bit, 0 or -1 */
    KX3_INTEGER = 2, /* signed 16-bit */
    KX3_LONG = 3,    /* signed 32-bit */
    KX3_DOUBLE = 4,  /* IEEE 754 double */
    KX3_STRING = 5   /* 32-bit string handle */
};

/* One block of the table that host and plug-in agree on. */
typedef struct kx3_block_info {
    size_t struct_size;
    const char *root; /* the block's name is "tamsel", root, instance number */
    int32_t type;     /* KX3_BYTE ... KX3_STRING */
    int32_t count;    /* elements; 0 for "ibuffer", which has buflength(0) + 2200 */
    int32_t bytes;    /* size to create it with; 0 for "ibuffer": as many as elements */
    int32_t numbered; /* 1: the name ends with the instance number; 0: it does not */
} kx3_block_info;
KX3_INITIALISER(kx3_block_info)

/* Number of blocks. */
KX3_API int32_t kx3_block_count(void);
/* Block `index` (0 to kx3_block_count() - 1) in attach order. KX3_SUBSCRIPT outside. */
KX3_API kx3_status kx3_block_describe(int32_t index, kx3_block_info *info);

typedef struct kx3_block kx3_block;

/* Create block `name` (letters, digits, '-', '_') with `bytes` (at least 1, rounded up to pages of 4096),
 * zeroed, and map it. KX3_ALREADY_EXISTS when a living host holds a block of that name; KX3_BAD_NAME,
 * KX3_BAD_NAMESPACE (the value of KX3MPU6_NAMESPACE), KX3_NO_SPACE (shared memory is full),
 * KX3_TOO_MANY_FILES, KX3_PERMISSION_DENIED (a file of another user's stands in its place), KX3_INVALID_CALL
 * for a size below 1, KX3_DEVICE_IO for anything else. */
KX3_API kx3_status kx3_block_create(const char *name, int32_t bytes, kx3_block **block);
/* Open and map an existing block. KX3_FILE_NOT_FOUND when there is none; else as kx3_block_create. */
KX3_API kx3_status kx3_block_open(const char *name, kx3_block **block);
/* First byte of the block's view, and the view's size in bytes. */
KX3_API void *kx3_block_data(const kx3_block *block);
KX3_API size_t kx3_block_size(const kx3_block *block);
/* Unmap and close; the last holder's close ends the block. NULL is ignored. */
KX3_API void kx3_block_close(kx3_block *block);
/* The lowest instance number from 0 to 100 that no living host uses; 101 when all are in use. */
KX3_API kx3_status kx3_findnum(int16_t *number);

/* ---- Callbacks -------------------------------------------------------------------------------
 * Every callback gets the `context` of its structure. Callbacks run on the thread that called the
 * plug-in, inside that call. A callback returns KX3_OK, or another status that makes the operation
 * in progress fail with "CALLBACK failed with status N"; kx3_fail_with sets a better description. */

/* To be called inside a failing callback, just before it returns a status other than KX3_OK. */
KX3_API void kx3_fail_with(const char *description);

typedef struct kx3_form kx3_form;

/* Buttons of message boxes. */
enum { KX3_BUTTON_OK = 1, KX3_BUTTON_CANCEL = 2, KX3_BUTTON_ABORT = 3, KX3_BUTTON_RETRY = 4, KX3_BUTTON_IGNORE = 5 };

typedef struct kx3_ui {
    size_t struct_size;
    void *context;
    /* Let the host's message loop run once. NULL: nothing happens. */
    kx3_status (*yield)(void *context);
    /* Show a message box: UTF-16 prompt (lines broken by carriage returns), style (0 OK, 33 OK and
     * Cancel, 50 Abort Retry Ignore, 64 OK with information icon), title or NULL for the system's.
     * Put the pressed button into `button`. NULL: every box fails with KX3_NOT_AVAILABLE. */
    kx3_status (*message_box)(void *context, const uint16_t *prompt, size_t prompt_length, int32_t style,
                              const uint16_t *title, size_t title_length, int32_t *button);
    /* Show a form modally; return when kx3_form_loaded gives 0. NULL: every dialog fails with
     * KX3_NOT_AVAILABLE. */
    kx3_status (*show_form)(void *context, kx3_form *form);
} kx3_ui;
KX3_INITIALISER(kx3_ui)

/* Use these callbacks on the calling thread; the structure is copied. NULL takes them away. */
KX3_API kx3_status kx3_set_ui(const kx3_ui *ui);

/* The host's session object. Results come through the last pointer of an operation. */
typedef struct kx3_session_host {
    size_t struct_size;
    void *context;
    kx3_status (*EndOperation)(void *context);
    kx3_status (*SetVcc)(void *context, int32_t millivolts);
    kx3_status (*SetGndPin)(void *context, uint8_t pin, uint8_t state);
    kx3_status (*PowerStep)(void *context, int32_t step);
    kx3_status (*SignalPass)(void *context, int32_t value);
    kx3_status (*SignalFail)(void *context, int32_t value);
    kx3_status (*StartCheck)(void *context, int32_t *result); /* 1: must not start */
    kx3_status (*Delay)(void *context, int32_t milliseconds);
    kx3_status (*PollStatus)(void *context, int32_t request, int32_t *arrived); /* 0: no report */
    kx3_status (*ReportStartFailure)(void *context);
    kx3_status (*PrepareChip)(void *context, uint8_t figmode, int32_t *result); /* 2: must stop */
    kx3_status (*PrepareDevice32f)(void *context, uint8_t figmode, uint8_t zero, int32_t *result);
    kx3_status (*PrepareDevice)(void *context, uint8_t figmode, uint8_t zero, int32_t *result);
    kx3_status (*CompareWord)(void *context, uint8_t low, uint8_t high, int32_t address, int32_t mode, int32_t mask,
                              int32_t *result); /* 1: stop the verify */
    kx3_status (*CompareByte)(void *context, uint8_t data, int32_t address, int32_t mode, int32_t *result);
    kx3_status (*AlgorithmLoaded)(void *context, int32_t length);
} kx3_session_host;
KX3_INITIALISER(kx3_session_host)

/* Use this session host on the calling thread; the structure is copied. An operation whose member
 * is NULL fails with KX3_MEMBER_NOT_FOUND. NULL takes the session host away. */
KX3_API kx3_status kx3_set_session_host(const kx3_session_host *host);

/* Calls that the plug-in makes to the programmer I/O libraries. */
enum { KX3_USBCOMWRITE = 1, KX3_USBBULKWRITE = 2, KX3_USBBULKREAD = 3, KX3_DATSTR = 4 };

typedef struct kx3_io_call {
    size_t struct_size;
    int32_t function;    /* KX3_USBCOMWRITE ... KX3_DATSTR */
    const uint8_t *data; /* packet or data written; destination of a read; NULL for datstr */
    int32_t count;       /* bytes; for datstr the value */
    int32_t result;      /* status returned; for a read the state byte right after the call; for datstr the digits */
} kx3_io_call;

/* Have every programmer I/O call of the calling thread reported after it was made. NULL ends it.
 * Without an observer the calls cost nothing extra. */
KX3_API kx3_status kx3_observe_io(void (*observer)(void *context, const kx3_io_call *call), void *context);

/* ---- The entry class --------------------------------------------------------------------------*/

typedef struct kx3_mpu kx3_mpu;

/* Create an entry object; this attaches nothing. */
KX3_API kx3_status kx3_mpu_create(kx3_mpu **mpu);
/* Release it: the 60 main blocks of the thread are released. NULL is ignored. */
KX3_API void kx3_mpu_release(kx3_mpu *mpu);

KX3_API kx3_status kx3_mpu_get_buflg(kx3_mpu *mpu, int32_t *value);
KX3_API kx3_status kx3_mpu_put_buflg(kx3_mpu *mpu, int32_t value);
/* Boolean: 0 or -1. */
KX3_API kx3_status kx3_mpu_get_exitpower(kx3_mpu *mpu, int16_t *value);
KX3_API kx3_status kx3_mpu_put_exitpower(kx3_mpu *mpu, int16_t value);

/* Run the operation that the blocks describe; `usbenable` is neither read nor written. */
KX3_API kx3_status kx3_mpu_runMpu6Prg(kx3_mpu *mpu, int16_t *usbenable);

/* The ARM driver module that runMpu6Prg chooses for a device. Texts stay valid. */
typedef struct kx3_driver_info {
    size_t struct_size;
    const char *module;              /* "arm_prg_32f" */
    const char *entry;               /* the module's session driver, "RunArmSession32f" */
    const char *algorithm_folder;    /* of its algorithm files, below the current directory */
    const char *algorithm_extension; /* ".alg" */
    int32_t longest_algorithm;       /* bytes that an algorithm file may have */
    int32_t read_chunk;              /* bytes of one bulk read */
    int32_t program_chunk;           /* bytes of one bulk write, for blocks below `large_block` addresses */
    int32_t large_program_chunk;     /* the same for larger blocks */
    int32_t large_block;             /* addresses */
    int32_t numbers_read_chunks;     /* 1: each read request carries the chunk's number in a byte */
    int32_t large_device;            /* a verify, and some programming, of a device with more addresses than this ... */
    int32_t end_rounding;            /* ... ends at a multiple of so many */
} kx3_driver_info;
KX3_INITIALISER(kx3_driver_info)

/* The driver of a device with these elements 0 of `modeltype` and `selmode`. KX3_NOT_AVAILABLE for a device
 * that no ARM driver serves. */
KX3_API kx3_status kx3_driver_describe(int16_t model_type, uint8_t selection, kx3_driver_info *info);

/* How a session ended. */
enum {
    KX3_NEVER_RAN = 0,     /* no session yet, a model type below 40, or no operation in the session */
    KX3_PASSED = 1,        /* the operation passed, and no comparison of a verify found a difference */
    KX3_FAILED = 2,        /* the device or a comparison says no: a compare call answered 1, or the session host
                              left text in `MainRtstr`(1) */
    KX3_STOPPED = 3,       /* by the user, in the run or at the question about the chip's identifier */
    KX3_REFUSED = 4,       /* the session host refused the start, or the device */
    KX3_ENDED_BY_ERROR = 5 /* something went wrong: algorithm file, transfer, status report, a failing callback */
};

/* Did it pass? Gives how the thread's latest kx3_mpu_runMpu6Prg ended, also when the call itself failed.
 * `explanation` (which may be NULL) gets what explains it, UTF-8, in one or more lines: the programmer's error
 * line, what the session host found, or an error's description; "" for a pass. It is valid until the thread's
 * next call of this function. `prgresult`(0) alone does not tell: it stays 0 when the algorithm file is missing,
 * when a transfer fails and when a verify finds differences. */
KX3_API int32_t kx3_session_outcome(const char **explanation);
/* Show device note `no`, whose bit 7 is cleared first. */
KX3_API kx3_status kx3_mpu_mpu6warn(kx3_mpu *mpu, uint8_t *no);
/* Open the configuration editor of the selected device; returns when it is closed. */
KX3_API kx3_status kx3_mpu_editfigmpu6(kx3_mpu *mpu);
/* Attach the blocks of host instance `num`. */
KX3_API kx3_status kx3_mpu_bufcommpu6(kx3_mpu *mpu, int16_t *num);
/* Release the two device-buffer blocks. */
KX3_API kx3_status kx3_mpu_freesharebuffermpu6(kx3_mpu *mpu);
/* Write the default configuration bytes of the selected device into the device buffer. */
KX3_API kx3_status kx3_mpu_sinitmpu6(kx3_mpu *mpu);

/* ---- Forms -----------------------------------------------------------------------------------
 * Inside show_form a host walks the controls of the form and acts on them as a person does. A form
 * handle is good for that call only. Texts are UTF-16 and, like names, stay valid until the next
 * action on the form. Controls are numbered from 0 in layout and tab order, a frame before its
 * content; the numbers hold while the form is loaded. */

/* Kinds of controls. */
enum { KX3_FRAME = 0, KX3_LABEL = 1, KX3_COMBO_BOX = 2, KX3_CHECK_BOX = 3, KX3_TEXT_BOX = 4, KX3_COMMAND_BUTTON = 5 };

typedef struct kx3_text {
    const uint16_t *units;
    size_t length;
} kx3_text;

typedef struct kx3_form_info {
    size_t struct_size;
    const char *name; /* "edit_figmpu65" */
    kx3_text caption;
    kx3_text message;            /* why the last OK was refused, in one line; empty when it was not */
    int32_t loaded;              /* 0: the form has closed itself, show_form returns */
    int32_t on_screen;           /* 1: opens centred on the screen, 0: on its owner */
    int32_t controls;            /* number of controls */
    int32_t focus;               /* control with the focus, -1 for none */
    uint64_t revision;           /* counts every change; refresh when it differs */
    uint64_t structure_revision; /* the one that last changed captions, lists, places or the message */
} kx3_form_info;
KX3_INITIALISER(kx3_form_info)

typedef struct kx3_control_info {
    size_t struct_size;
    const char *name; /* "Combo1" */
    int32_t index;    /* element of the control array `name`, -1 when it is none */
    int32_t kind;     /* KX3_FRAME ... KX3_COMMAND_BUTTON */
    int32_t parent;   /* the frame around it, -1 for the form itself */
    int32_t label;    /* the label beside it, -1 for none */
    int32_t columns;  /* frames: rows that stand side by side, filled line by line */
    kx3_text caption;
    kx3_text text; /* of a text box; the selected item of a combo box */
    int32_t items; /* entries of a combo box */
    int32_t list_index;
    int32_t checked;
    int32_t enabled; /* a person can act on it: it and all frames around it are enabled */
    int32_t visible; /* it and all frames around it are visible */
    int32_t max_length;
    int32_t selection_start;
    int32_t selection_length;
    int32_t marked;     /* its entry was refused */
    int32_t is_default; /* pressed by Enter */
    int32_t is_cancel;  /* pressed by Escape */
    uint64_t revision;  /* the form's that last changed the control or a frame around it */
} kx3_control_info;
KX3_INITIALISER(kx3_control_info)

KX3_API kx3_status kx3_form_describe(const kx3_form *form, kx3_form_info *info);
/* Whether the form is still open; 0 also for a handle that is not good any more. */
KX3_API int32_t kx3_form_loaded(const kx3_form *form);
/* Whether its default button (OK) has closed the form; 0 also for a handle that is not good any more. */
KX3_API int32_t kx3_form_accepted(const kx3_form *form);
KX3_API kx3_status kx3_form_control(const kx3_form *form, int32_t control, kx3_control_info *info);
/* Entry `item` of a combo box's list. */
KX3_API kx3_status kx3_form_item(const kx3_form *form, int32_t control, int32_t item, kx3_text *text);
/* Number of the control of that name and index (-1: no array element). KX3_SUBSCRIPT for none. */
KX3_API kx3_status kx3_form_find(const kx3_form *form, const char *name, int32_t index, int32_t *control);

/* Where a control stands, for a program that draws the form. The form and every frame hold blocks, in
 * one column or in two side by side, one block under another; a block is an inner frame, or a run of
 * rows. A run is a grid of lines and cells, and a cell has a place for a label and one for a field.
 * Below all blocks stand the form's message, then the row of buttons. Hidden controls take no place:
 * ask again when the revision of the form's structure has changed. */

/* Parts of a cell: all of it, its label's, its field's. */
enum { KX3_PART_WHOLE = 0, KX3_PART_LABEL = 1, KX3_PART_FIELD = 2 };
/* Column of the buttons below all blocks. */
enum { KX3_BUTTON_ROW = -1 };

typedef struct kx3_placement {
    size_t struct_size;
    int32_t shown;            /* 0: the control is hidden, and the rest means nothing */
    int32_t column;           /* 0 or 1 inside `parent`, or KX3_BUTTON_ROW */
    int32_t block;            /* counts the form's blocks; rows with the same number share a grid */
    int32_t line;             /* of the grid */
    int32_t cell;             /* of the line */
    int32_t part;             /* KX3_PART_WHOLE ... KX3_PART_FIELD */
    int32_t access_key;       /* position in `caption` of the character that Alt reaches the control by (the field of
                                 a label), unique in the form; -1 for none */
    kx3_text marked_caption;  /* the caption to draw, without tabs, for a toolkit that takes "&" as the mark of an
                                 access key: "&" in front of it, "&&" for each "&" */
    kx3_text accessible_name; /* for a screen reader, with the captions of the frames around the control */
} kx3_placement;
KX3_INITIALISER(kx3_placement)

KX3_API kx3_status kx3_form_place(const kx3_form *form, int32_t control, kx3_placement *placement);

/* Actions. `done` (which may be NULL) gets 1 when the action had an effect, and 0 when the control
 * is hidden, disabled or of another kind, or its handler swallowed the action. */

/* Select item `item` of a combo box. */
KX3_API kx3_status kx3_form_choose(kx3_form *form, int32_t control, int32_t item, int32_t *done);
/* Press a command button, or toggle a check box. */
KX3_API kx3_status kx3_form_click(kx3_form *form, int32_t control, int32_t *done);
/* A key goes down in a text box (Delete is 46). */
KX3_API kx3_status kx3_form_key_down(kx3_form *form, int32_t control, int16_t key_code, int32_t *done);
/* A character arrives at a text box (Backspace is 8). */
KX3_API kx3_status kx3_form_key_press(kx3_form *form, int32_t control, uint16_t character, int32_t *done);
/* Replace the selection of a text box by a text from the clipboard. */
KX3_API kx3_status kx3_form_paste(kx3_form *form, int32_t control, const uint16_t *text, size_t length, int32_t *done);
/* Select characters of a text box; a length of 0 places the caret. */
KX3_API kx3_status kx3_form_select_text(kx3_form *form, int32_t control, int32_t start, int32_t length, int32_t *done);
KX3_API kx3_status kx3_form_focus(kx3_form *form, int32_t control, int32_t *done);
/* Close the form by its window frame. */
KX3_API kx3_status kx3_form_close(kx3_form *form, int32_t *done);

/* ---- Editor layouts --------------------------------------------------------------------------
 * What the editor of a device shows and edits, without opening it: for programs that list
 * configuration fields, or that find the control of a field in the opened form. */

/* Element 0 of the blocks that an editor depends on. */
typedef struct kx3_device {
    size_t struct_size;
    int32_t tlength;
    int16_t chippin;
    uint8_t prgmode;
    uint8_t figvol;
} kx3_device;
KX3_INITIALISER(kx3_device)

/* How a wrong value can lock the user out of the device. */
enum {
    KX3_HAZARD_NONE = 0,
    KX3_HAZARD_RESET_PIN = 1,   /* the reset pin stops being one: no further in-system programming */
    KX3_HAZARD_PROGRAMMING = 2, /* a programming interface can be shut */
    KX3_HAZARD_DEBUG = 3,       /* a debug interface can be shut, or takes over the reset pin */
    KX3_HAZARD_LOCK = 4,        /* memory is protected until it is erased, if it can be */
    KX3_HAZARD_WRITE_ONCE = 5   /* the device takes the value once and for all */
};

/* Kinds of fields. */
enum { KX3_FIELD_LIST = 0, KX3_FIELD_CHECK = 1, KX3_FIELD_HEX_NUMBER = 2, KX3_FIELD_HEX_WORD = 3 };

/* How a list index, or a check box (checked = 1), stands for the bits of its field. */
enum {
    KX3_CODING_PLAIN = 0,          /* the number itself */
    KX3_CODING_INVERTED = 1,       /* its complement: index 0, or an empty check box, sets all bits */
    KX3_CODING_INDEX_OR_FIRST = 2, /* the number itself; a value without an item shows item 0 */
    KX3_CODING_WHOLE_SIZE = 3      /* 3 bits: item 0 is 7; item 1 stores 0 and shows 0 and 6 */
};

typedef struct kx3_field_info {
    size_t struct_size;
    kx3_text frame;      /* caption of the frame around the field */
    kx3_text caption;    /* of the row */
    const char *control; /* name and index of the control in the form; index -1: no array element */
    int32_t control_index;
    int32_t kind;         /* KX3_FIELD_LIST ... KX3_FIELD_HEX_WORD */
    int32_t coding;       /* KX3_CODING_PLAIN ... KX3_CODING_WHOLE_SIZE */
    int32_t hazard;       /* KX3_HAZARD_NONE ... KX3_HAZARD_WRITE_ONCE */
    int32_t byte_count;   /* bytes of the field; 0 when it holds nothing for this device */
    int32_t addresses[4]; /* of its bytes in `ibuffer`, least significant byte first */
    int32_t bit;          /* lowest bit and number of bits, for a field inside one byte */
    int32_t width;
    int32_t visible; /* shown for this device, with all frames around it */
    int32_t enabled; /* when the form opens */
    int32_t read_only;
    int32_t items; /* entries of a list */
} kx3_field_info;
KX3_INITIALISER(kx3_field_info)

/* What the offsets of an editor's bytes count from: `tlength`(0), twice that (an image counted in words), or
 * the start of `ibuffer`. */
enum { KX3_BASE_LENGTH = 0, KX3_BASE_TWICE_LENGTH = 1, KX3_BASE_BUFFER_START = 2 };

typedef struct kx3_config_byte_info {
    size_t struct_size;
    int32_t address;     /* in `ibuffer` */
    int32_t written;     /* 0: the editor only shows it */
    int32_t fixed_mask;  /* bits that OK forces, whatever the fields say */
    int32_t fixed_value; /* their values */
    int32_t base;        /* what `offset` counts from: KX3_BASE_LENGTH ... KX3_BASE_BUFFER_START */
    int32_t offset;      /* of the byte from there */
    int32_t field_mask;  /* bits that fields hold, shown or hidden */
    int32_t kept_mask;   /* bits that OK leaves as they are, whatever a person enters */
} kx3_config_byte_info;
KX3_INITIALISER(kx3_config_byte_info)

typedef struct kx3_editor kx3_editor;

/* The editor that opens for `device`, with the words of language block `language` (0, 3000 ... 33000).
 * KX3_NOT_AVAILABLE for a mode without an editor, KX3_OVERFLOW for addresses that do not fit. */
KX3_API kx3_status kx3_editor_describe(const kx3_device *device, int32_t language, kx3_editor **editor);
/* Form name, such as "edit_figmpu65". */
KX3_API const char *kx3_editor_name(const kx3_editor *editor);
/* Address of the second copy of a mirrored byte, -1 when there is none. */
KX3_API int32_t kx3_editor_mirror(const kx3_editor *editor);
KX3_API int32_t kx3_editor_field_count(const kx3_editor *editor);
KX3_API kx3_status kx3_editor_field(const kx3_editor *editor, int32_t field, kx3_field_info *info);
KX3_API kx3_status kx3_editor_item(const kx3_editor *editor, int32_t field, int32_t item, kx3_text *text);
KX3_API int32_t kx3_editor_byte_count(const kx3_editor *editor);
KX3_API kx3_status kx3_editor_byte(const kx3_editor *editor, int32_t byte, kx3_config_byte_info *info);
/* Texts of the layout are good until here. NULL is ignored. */
KX3_API void kx3_editor_free(kx3_editor *editor);

/* The bytes that kx3_mpu_sinitmpu6 writes for `device`, by ascending address in `ibuffer`: put at most `capacity`
 * addresses and values into the two arrays (which may be NULL when capacity is 0) and set `count` to the number of
 * bytes, 0 for a mode without defaults. KX3_OVERFLOW for addresses that do not fit. */
KX3_API kx3_status kx3_default_bytes(const kx3_device *device, int32_t *addresses, uint8_t *values, size_t capacity,
                                     size_t *count);

/* ---- Languages ------------------------------------------------------------------------------*/

typedef struct kx3_language_info {
    size_t struct_size;
    const char *name; /* "en", "zh-cn" ... */
    int32_t block;    /* the value of `Language`(0) */
} kx3_language_info;
KX3_INITIALISER(kx3_language_info)

KX3_API int32_t kx3_language_count(void);
/* Language `index` (0 to kx3_language_count() - 1). KX3_SUBSCRIPT outside, KX3_INVALID_CALL when `struct_size` is
 * not set. */
KX3_API kx3_status kx3_language_describe(int32_t index, kx3_language_info *info);

#ifdef __cplusplus
}
#endif

#endif
