// Host domains, compared with their rules.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "boardfeatures/net.h"
#include "support/domain_model.h"

extern "C" {

// One of the rules is told on standard output, which is the fuzzer's.
int LLVMFuzzerInitialize(int *, char ***) {
    return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    if (OAL_VerifyDomain(text.c_str()) != domain_model::host_domain(text.c_str()).result) {
        std::abort();
    }
    return 0;
}

}  // extern "C"
