#include "c_host.h"

#include "kx3mpu6.h"

int c_host_buflg(void) {
    kx3_mpu *mpu;
    int32_t buflg = -1;
    if (kx3_mpu_create(&mpu) != KX3_OK) return -1;
    (void)kx3_mpu_get_buflg(mpu, &buflg);
    kx3_mpu_release(mpu);
    return (int)buflg;
}
