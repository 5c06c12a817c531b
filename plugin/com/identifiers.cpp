// The one place where the identifiers of the type library become data.

#include <windows.h>

#include <initguid.h>
#include <kx3mpu6_idl.h>
