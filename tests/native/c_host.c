/* A host written in C. */
#include "kx3mpu6.h"

/* Create an entry object and give its buflg; -1 when a call fails. */
int32_t c_host_buflg(void) {
    kx3_mpu *mpu;
    int32_t buflg;
    if (kx3_mpu_create(&mpu) != KX3_OK || kx3_mpu_get_buflg(mpu, &buflg) != KX3_OK) return -1;
    kx3_mpu_release(mpu);
    return buflg;
}
