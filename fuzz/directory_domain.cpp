// Directory-service domains, compared with their rules.
#include <cstdlib>
#include <string>

#include "boardfeatures/net.h"
#include "support/domain_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    if (OAL_VerifyDomain_AD(text.c_str()) != domain_model::directory_domain(text.c_str()).result) {
        std::abort();
    }
    return 0;
}
