// check: the verdict, and the first rule that is broken.
#include "boardctl/programs.h"
#include "boardctl/texts.h"

using boardctl_test::expect_golden;
using boardctl_test::Json;
using boardctl_test::Outcome;
using boardctl_test::run_boardctl;

namespace {

const std::string characters =
    "a label holds other than letters, digits and hyphens, or the last one other than letters";
const std::string label_length = "a label is longer than 63 characters";

Json checked(const std::string &kind, const std::string &text, int status) {
    const Outcome outcome = run_boardctl({"check", kind, "--json", "--", text});
    EXPECT_EQ(outcome.status, status) << text;
    Json document = outcome.json();
    if (status == 0) {
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(document["failures"], Json::array());
    } else {
        const std::string failure = text + " is not valid: " + document["rule"].get<std::string>();
        EXPECT_EQ(outcome.err, "boardctl: " + failure + "\n");
        EXPECT_EQ(document["failures"], Json::array({failure}));
    }
    document.erase("failures");
    return document;
}

}  // namespace

TEST(CheckAddress, Verdicts) {
    const struct {
        const char *text;
        Json family, rule;
    } rows[] = {
        {"10.0.0.1", "IPv4", nullptr},
        {"223.255.255.255", "IPv4", nullptr},
        {"2001:db8::1", "IPv6", nullptr},
        {"fec0::1", "IPv6", nullptr},
        {"abc", nullptr, "neither an IPv4 nor an IPv6 address"},
        {"10.1", nullptr, "neither an IPv4 nor an IPv6 address"},
        {"0.1.2.3", "IPv4", "begins with 0: no host, but this network"},
        {"127.0.0.1", "IPv4", "a loopback address (127.0.0.0/8)"},
        {"224.0.0.1", "IPv4", "a multicast address (224.0.0.0/4)"},
        {"239.255.255.255", "IPv4", "a multicast address (224.0.0.0/4)"},
        {"240.0.0.0", "IPv4", "a reserved address (240.0.0.0/4)"},
        {"255.255.255.255", "IPv4", "a reserved address (240.0.0.0/4)"},
        {"::", "IPv6", "the unspecified address (::)"},
        {"::1", "IPv6", "the loopback address (::1)"},
        {"ff02::1", "IPv6", "a multicast address (ff00::/8)"},
        {"fe80::1", "IPv6", "a link-local address (fe80::/10)"},
        {"febf::1", "IPv6", "a link-local address (fe80::/10)"},
        {"::ffff:10.0.0.1", "IPv6", "an IPv4-mapped address (::ffff:0:0/96)"},
        {"::10.0.0.1", "IPv6", "an IPv4-compatible address (::/96)"},
    };
    for (const auto &row : rows) {
        const bool valid = row.rule.is_null();
        const Json expected = {{"kind", "address"},    {"text", row.text}, {"valid", valid},
                               {"family", row.family}, {"rule", row.rule}, {"message", nullptr}};
        EXPECT_EQ(checked("address", row.text, valid ? 0 : 1), expected);
    }
}

TEST(CheckDomain, EveryRule) {
    const std::string label64(64, 'a');
    const struct {
        const char *kind;
        std::string text;
        Json rule, message;
    } rows[] = {
        {"domain", "bmc.rack-7.example", nullptr, nullptr},
        {"domain", std::string(266, 'a'), "longer than 265 characters", "Invalid Domain Len!!!"},
        {"domain", "example", "not two to six labels: there are no dots or more than five",
         "invalid domain!!!"},
        {"domain", "a.b.c.d.e.f.g", "not two to six labels: there are no dots or more than five",
         "invalid domain!!!"},
        {"domain", "..", "nothing but dots", "Strtok str is NULL!!!"},
        {"domain", "-a.lan", "the first label does not begin with a letter or a digit",
         "First byte is not alpha||digit!!!"},
        {"domain", "a.b.c0m", characters, "Byte is invalid!!!"},
        {"domain", label64 + ".lan", label_length, "Len is large 64!!!"},
        {"domain", "a." + label64 + ".lan", label_length, "Len is large 64!!!"},
        {"domain-ad", "corp.example.lan", nullptr, "valid domain"},
        {"domain-ad", "", "empty", "Domain is NULL!!!"},
        {"domain-ad", "1corp.lan", "does not begin with a letter", "First byte is not alpha!!!"},
        {"domain-ad", "corp.example1", "does not end with a letter", "Last byte is not alpha!!!"},
        {"domain-ad", "a.b.c.d.e", "more than four labels",
         "error, domain level is larger than 4 !!"},
        {"domain-ad", std::string(256, 'a'), "longer than 255 characters", "Invalid Domain Len!!!"},
        {"domain-ad", "corp", "a single label: there is no dot", "invalid domain level!!!"},
        {"domain-ad", label64 + ".lan", label_length, "Len is larger than 63!!!"},
        {"domain-ad", "a." + label64 + ".lan", label_length, "Len is larger than 63!!!"},
        {"domain-ad", "c_1.lan", characters, "Byte is invalid!!!"},
        {"domain-ad", "corp.abcdefg", "the last label is longer than six letters",
         "Last node is larger than 6!!!"},
    };
    for (const auto &row : rows) {
        const bool valid = row.rule.is_null();
        const Json expected = {{"kind", row.kind},  {"text", row.text}, {"valid", valid},
                               {"family", nullptr}, {"rule", row.rule}, {"message", row.message}};
        EXPECT_EQ(checked(row.kind, row.text, valid ? 0 : 1), expected);
    }
}

TEST(Check, Tables) {
    expect_golden("check-domain.txt", run_boardctl({"check", "domain", "--", "-a.lan"}).out);
    expect_golden("check-domain-ad.txt",
                  run_boardctl({"check", "domain-ad", "corp.example.lan"}).out);
    expect_golden("check-address.txt", run_boardctl({"check", "address", "fe80::1"}).out);
}

TEST(Check, WrongUse) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"check"},
                                                      {"check", "address"},
                                                      {"check", "name", "x"},
                                                      {"check", "domain", "a.b", "c.d"}}) {
        EXPECT_EQ(run_boardctl(arguments).status, 2);
    }
}
