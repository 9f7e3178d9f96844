// check: whether the library accepts an address or a domain name, and why not.
#include <arpa/inet.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "boardfeatures/net.h"
#include "command.h"
#include "overheard.h"

namespace boardctl {

namespace {

// The last key says what the library's own line says, null when it says nothing.
Json verdict_json(const std::string &kind, const std::string &text, bool valid, Json family,
                  Json rule, Json message) {
    return {{"kind", kind},
            {"text", text},
            {"valid", valid},
            {"family", std::move(family)},
            {"rule", std::move(rule)},
            {"message", std::move(message)}};
}

// ---- addresses ----

// Addresses that no host can have.
struct UnusableRange {
    int family;
    char network[16];
    unsigned prefix;  // bits
    char what[80];
};
constexpr UnusableRange unusable_ranges[] = {
    {AF_INET, "0.0.0.0", 8, "begins with 0: no host, but this network"},
    {AF_INET, "127.0.0.0", 8, "a loopback address (127.0.0.0/8)"},
    {AF_INET, "224.0.0.0", 4, "a multicast address (224.0.0.0/4)"},
    {AF_INET, "240.0.0.0", 4, "a reserved address (240.0.0.0/4)"},
    {AF_INET6, "::", 128, "the unspecified address (::)"},
    {AF_INET6, "::1", 128, "the loopback address (::1)"},
    {AF_INET6, "ff00::", 8, "a multicast address (ff00::/8)"},
    {AF_INET6, "fe80::", 10, "a link-local address (fe80::/10)"},
    {AF_INET6, "::ffff:0:0", 96, "an IPv4-mapped address (::ffff:0:0/96)"},
    {AF_INET6, "::", 96, "an IPv4-compatible address (::/96)"},
};

bool is_in_range(const std::string &text, const UnusableRange &range) {
    std::array<uint8_t, sizeof(in6_addr)> address = {};
    std::array<uint8_t, sizeof(in6_addr)> network = {};
    if (inet_pton(range.family, text.c_str(), address.data()) != 1 ||
        inet_pton(range.family, range.network, network.data()) != 1) {
        return false;
    }
    for (unsigned bit = 0; bit < range.prefix; ++bit) {
        if (((address[bit / 8] ^ network[bit / 8]) & (0x80 >> bit % 8)) != 0) {
            return false;
        }
    }
    return true;
}

Json judge_address(const std::string &text) {
    uint32_t answer = 0;
    {
        const Overheard aside;
        answer = OAL_VerifyIpAddr(text.c_str());
    }
    const bool valid = answer == OAL_IP_IS_V4 || answer == OAL_IP_IS_V6;
    Json family;
    if (answer == OAL_IP_IS_V4 || answer == OAL_IP_V4_UNUSABLE) {
        family = "IPv4";
    } else if (answer == OAL_IP_IS_V6 || answer == OAL_IP_V6_UNUSABLE) {
        family = "IPv6";
    }
    Json rule;
    if (family.is_null()) {
        rule = "neither an IPv4 nor an IPv6 address";
    } else if (!valid) {
        const auto *range =
            std::find_if(std::begin(unusable_ranges), std::end(unusable_ranges),
                         [&](const UnusableRange &row) { return is_in_range(text, row); });
        rule = range != std::end(unusable_ranges) ? range->what : "no address that a host can have";
    }
    return verdict_json("address", text, valid, std::move(family), std::move(rule), nullptr);
}

// ---- domain names ----

// The rules as the library names them, and in a person's words.
struct DomainRule {
    char message[48];
    char what[112];
};
constexpr char character_rule[] =
    "a label holds other than letters, digits and hyphens, or the last one other than letters";
constexpr char label_rule[] = "a label is longer than 63 characters";

template <std::size_t N, std::size_t M>
constexpr DomainRule domain_rule(const char (&message)[N], const char (&what)[M]) {
    DomainRule made = {};
    std::copy(message, message + N, made.message);
    std::copy(what, what + M, made.what);
    return made;
}

struct DomainKind {
    char kind[16];
    int32_t (*verify)(const char *);
    std::array<DomainRule, 9> rules;
};
constexpr DomainKind domain_kinds[] = {
    {"domain",
     OAL_VerifyDomain,
     {domain_rule("Invalid Domain Len!!!", "longer than 265 characters"),
      domain_rule("invalid domain!!!",
                  "not two to six labels: there are no dots or more than five"),
      domain_rule("Strtok str is NULL!!!", "nothing but dots"),
      domain_rule("First byte is not alpha||digit!!!",
                  "the first label does not begin with a letter or a digit"),
      domain_rule("Byte is invalid!!!", character_rule),
      domain_rule("Len is large 64!!!", label_rule)}},
    {"domain-ad",
     OAL_VerifyDomain_AD,
     {domain_rule("Domain is NULL!!!", "empty"),
      domain_rule("First byte is not alpha!!!", "does not begin with a letter"),
      domain_rule("Last byte is not alpha!!!", "does not end with a letter"),
      domain_rule("error, domain level is larger than 4 !!", "more than four labels"),
      domain_rule("Invalid Domain Len!!!", "longer than 255 characters"),
      domain_rule("invalid domain level!!!", "a single label: there is no dot"),
      domain_rule("Len is larger than 63!!!", label_rule),
      domain_rule("Byte is invalid!!!", character_rule),
      domain_rule("Last node is larger than 6!!!", "the last label is longer than six letters")}},
};

Json judge_domain(const DomainKind &domain, const std::string &text) {
    std::string said;
    bool valid = false;
    {
        const Overheard overheard;
        valid = domain.verify(text.c_str()) == 0;
        said = overheard.said();
    }
    const auto *broken = std::find_if(domain.rules.begin(), domain.rules.end(),
                                      [&](const DomainRule &row) { return said == row.message; });
    const bool known = !valid && !said.empty() && broken != domain.rules.end();
    return verdict_json(domain.kind, text, valid, nullptr, known ? Json(broken->what) : Json(),
                        said.empty() ? Json() : Json(said));
}

// ---- the commands ----

void show_verdict(Page &page, const Json &document) {
    page.fields(
        document,
        {{"Text", "/text"},
         {"Valid", "/valid"},
         {"Kind", "",
          [](const Json &row) { return row["family"].is_null() ? row["kind"] : row["family"]; }},
         {"Rule broken", "/rule"},
         {"The library says", "/message"}});
}

// A text that is not valid answers the question, but a script wants to see it at the exit status.
void add_check_of(Cli &cli, CLI::App &group, const char *name, const char *summary,
                  const std::function<Json(const std::string &)> &judge) {
    const auto text = std::make_shared<std::string>();
    cli.add(
           {.name = name,
            .title = "",
            .summary = summary,
            .run =
                [text, judge](Session &session) {
                    Json document = judge(*text);
                    if (document["valid"] == false) {
                        session.fail(fmt::format("{} is not valid{}", *text,
                                                 document["rule"].is_null()
                                                     ? ""
                                                     : ": " + document["rule"].get<std::string>()));
                    }
                    return document;
                },
            .show = show_verdict,
            .in_report = false},
           &group)
        .add_option("text", *text, "what to check; behind -- when it begins with a hyphen")
        ->required()
        ->type_name("TEXT");
}

}  // namespace

void add_check(Cli &cli) {
    CLI::App &group = cli.add_group("check", "Whether addresses and domain names are accepted");
    add_check_of(cli, group, "address", "An address that a host can have", judge_address);
    const auto judge = [](const DomainKind &domain) {
        return [&domain](const std::string &text) { return judge_domain(domain, text); };
    };
    add_check_of(cli, group, "domain", "A host's domain", judge(domain_kinds[0]));
    add_check_of(cli, group, "domain-ad", "A directory service's domain", judge(domain_kinds[1]));
}

}  // namespace boardctl
