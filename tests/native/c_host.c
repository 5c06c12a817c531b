#include "c_host.h"

#include "kx3mpu6.h"

#include <stdio.h>
#include <string.h>

static int create_all(kx3_block **blocks, int buflength) {
    int32_t i;
    for (i = 0; i < kx3_block_count(); ++i) {
        kx3_block_info info;
        char name[64];
        if (kx3_block_describe(i, &info) != KX3_OK) return 0;
        snprintf(name, sizeof name, info.numbered ? "tamsel%s7" : "tamsel%s", info.root);
        if (kx3_block_create(name, info.bytes != 0 ? info.bytes : buflength + 2200, &blocks[i]) != KX3_OK) return 0;
        if (strcmp(info.root, "buflength") == 0) *(int32_t *)kx3_block_data(blocks[i]) = buflength;
    }
    return 1;
}

static int32_t attached_buflg(void) {
    kx3_mpu *mpu;
    int16_t instance = 7;
    int32_t buflg = -1;
    if (kx3_mpu_create(&mpu) != KX3_OK) return -1;
    if (kx3_mpu_bufcommpu6(mpu, &instance) == KX3_OK) (void)kx3_mpu_get_buflg(mpu, &buflg);
    (void)kx3_mpu_freesharebuffermpu6(mpu);
    kx3_mpu_release(mpu);
    return buflg;
}

int c_host_buflg(int buflength) {
    kx3_block *blocks[100] = {NULL};
    int32_t i;
    const int buflg = create_all(blocks, buflength) ? (int)attached_buflg() : -1;
    for (i = 0; i < kx3_block_count(); ++i)
        kx3_block_close(blocks[i]);
    return buflg;
}
