// Facts about power that hold for every board of this model.
#include "boardfeatures/power.h"

extern "C" {

int32_t GetPemSupportFlag() { return 1; }
int32_t GetGPUSupportFlag() { return 0; }
int32_t GetPcieSelfTestAlarmSupportFlag() { return 0; }
int32_t GetAIAdapterSupportFlag() { return 0; }

}  // extern "C"
