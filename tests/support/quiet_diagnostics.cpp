// Diagnostics that go nowhere, for programs that call the library millions of times.
#include "boardplatform/platform.h"

extern "C" {
void _ssp_error(uint32_t, const char *, const char *, int, const char *, ...) {}
void _ssp_warn(uint32_t, const char *, const char *, int, const char *, ...) {}
void _ssp_info(uint32_t, const char *, const char *, int, const char *, ...) {}
void _ssp_debug(uint32_t, const char *, const char *, int, const char *, ...) {}
void sspFailedStat(const char *, int) {}
void IDBG_LINUXAPP_DbgOut(uint32_t, const char *, ...) {}
void IDBG_LINUXAPP_AuditOut(uint32_t, const char *, ...) {}
void IDBG_LINUXAPP_Runtime_DbgOut(uint32_t, const char *, ...) {}
}
