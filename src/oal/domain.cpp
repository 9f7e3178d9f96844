// The two checks of domain names. Each stops at the first broken rule and says which.
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "boardfeatures/net.h"

static constexpr char log_source[] = "vel_oal";

#define DOMAIN_SAYS(text) \
    IDBG_LINUXAPP_DbgOut(bf::level_debug, "[%s:%d]" text, log_source, __LINE__)

namespace {

constexpr char separators[] = ".";
constexpr std::size_t longest_label = 63;

// General domains.
constexpr std::size_t longest_domain = 265;
constexpr std::size_t domain_buffer_size = 264;
constexpr uint32_t most_domain_dots = 5;

// Directory-service domains.
constexpr std::size_t ad_buffer_size = 256;
constexpr uint32_t most_ad_dots = 3;
constexpr std::size_t longest_ad_top_label = 6;

// Classes of the C locale, whatever the process's is.
bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_letter_or_digit(char c) { return is_letter(c) || (c >= '0' && c <= '9'); }
bool is_label_character(char c) { return is_letter_or_digit(c) || c == '-'; }

bool all_of(const char *text, bool (*is)(char)) {
    for (; *text != '\0'; ++text) {
        if (!is(*text)) {
            return false;
        }
    }
    return true;
}

// Splits in place; empty labels are passed over, so that labels are numbered without them.
class Labels {
public:
    explicit Labels(char *text) : text_(text) {}
    char *next() {
        char *label = strtok_r(text_, separators, &rest_);
        text_ = nullptr;
        return label;
    }

private:
    char *text_;
    char *rest_ = nullptr;
};

}  // namespace

extern "C" {

int32_t OAL_VerifyDomain(const char *text) {
    if (text == nullptr) {
        DOMAIN_SAYS(" acIp is NULL!!!");
        return -1;
    }
    uint32_t dots = 0;
    std::size_t length = 0;
    for (; text[length] != '\0'; ++length) {
        if (length == longest_domain) {
            DOMAIN_SAYS("Invalid Domain Len!!!");
            return -1;
        }
        dots += text[length] == '.' ? 1U : 0U;
    }
    if (length == 0 || dots < 1 || dots > most_domain_dots) {
        DOMAIN_SAYS("invalid domain!!!");
        return -1;
    }
    char buffer[domain_buffer_size] = {};
    vel_strncpy_s(buffer, sizeof(buffer), text, sizeof(buffer));
    buffer[sizeof(buffer) - 1] = '\0';
    Labels labels(buffer);
    const char *label = labels.next();
    if (label == nullptr) {
        DOMAIN_SAYS(" Strtok str is NULL!!!");
        return -1;
    }
    if (!is_letter_or_digit(label[0])) {
        DOMAIN_SAYS(" First byte is not alpha||digit!!!");
        return -1;
    }
    if (!all_of(label + 1, is_label_character)) {
        DOMAIN_SAYS("Byte is invalid!!!");
        return -1;
    }
    if (std::strlen(label) > longest_label) {
        DOMAIN_SAYS("Len is large 64!!!");
        return -1;
    }
    for (uint32_t number = 2; (label = labels.next()) != nullptr; ++number) {
        const bool top = number > dots;
        if (!all_of(label, top ? is_letter : is_label_character)) {
            DOMAIN_SAYS("Byte is invalid!!!");
            return -1;
        }
        if (std::strlen(label) > longest_label) {
            std::printf("Len is large 64!!! ");
            return -1;
        }
    }
    return 0;
}

int32_t OAL_VerifyDomain_AD(const char *text) {
    if (text == nullptr) {
        DOMAIN_SAYS(" acIp is NULL!!!");
        return -1;
    }
    const std::size_t counted = strnlen(text, ad_buffer_size);
    if (counted == 0) {
        DOMAIN_SAYS("Domain is NULL!!!");
        return -1;
    }
    if (!is_letter(text[0])) {
        DOMAIN_SAYS("First byte is not alpha!!!");
        return -1;
    }
    if (!is_letter(text[counted - 1])) {
        DOMAIN_SAYS("Last byte is not alpha!!!");
        return -1;
    }
    uint32_t dots = 0;
    for (std::size_t i = 0; i < counted; ++i) {
        dots += text[i] == '.' ? 1U : 0U;
        if (dots > most_ad_dots) {
            DOMAIN_SAYS("error, domain level is larger than 4 !!");
            return -1;
        }
    }
    if (counted == ad_buffer_size) {
        DOMAIN_SAYS("Invalid Domain Len!!!");
        return -1;
    }
    if (dots == 0) {
        DOMAIN_SAYS("invalid domain level!!!");
        return -1;
    }
    char buffer[ad_buffer_size] = {};
    strncpy_s(buffer, sizeof(buffer), text, sizeof(buffer));
    buffer[sizeof(buffer) - 1] = '\0';
    Labels labels(buffer);
    const char *label = labels.next();
    if (label == nullptr) {
        DOMAIN_SAYS(" Strtok str is NULL!!!");
        return -1;
    }
    if (std::strlen(label) > longest_label) {
        DOMAIN_SAYS("Len is larger than 63!!!");
        return -1;
    }
    if (!all_of(label, is_label_character)) {
        DOMAIN_SAYS("Byte is invalid!!!");
        return -1;
    }
    for (uint32_t number = 2; (label = labels.next()) != nullptr; ++number) {
        const bool top = number > dots;
        const std::size_t length = std::strlen(label);
        if (length > longest_label) {
            DOMAIN_SAYS("Len is larger than 63!!! \n");
            return -1;
        }
        if (!all_of(label, top ? is_letter : is_label_character)) {
            DOMAIN_SAYS("Byte is invalid!!!");
            return -1;
        }
        if (top && length > longest_ad_top_label) {
            DOMAIN_SAYS("Last node is larger than 6!!!");
            return -1;
        }
    }
    DOMAIN_SAYS("valid domain\n");
    return 0;
}

}  // extern "C"
