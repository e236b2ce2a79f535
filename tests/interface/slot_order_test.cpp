// CNorvik's published slot order, read from the headers as text: callers built against earlier
// releases rely on it, and CNorvikSql overrides in the same order.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "support/slurp.h"

namespace {

// CNorvik's virtual operations, in order, as "Family: name" lines, pinned by their count and an
// FNV-1a fingerprint; a failure prints the listing. A new family goes last and updates both.
constexpr size_t kSlotCount = 345;
constexpr uint64_t kSlotFingerprint = 17461038649142593666ull;

std::string ReadSource(const char* relative) { return Slurp(std::string(NORVIK_SOURCE_DIR) + "/" + relative); }

// The body of `class NORVIK_API <name> ...{` up to the "};" that closes it at the start of a line.
std::string ClassBody(const std::string& header, const std::string& name) {
    const auto start = header.find("class NORVIK_API " + name + " ");
    if (start == std::string::npos) return {};
    const auto open = header.find('{', start);
    const auto close = header.find("\n};", open);
    return header.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1);
}

// The identifier (a destructor keeps its "~") just before the first "(" of `code`.
std::string DeclaredName(const std::string& code) {
    auto end = code.find('(');
    if (end == std::string::npos) return {};
    while (end > 0 && code[end - 1] == ' ') --end;
    auto begin = end;
    while (begin > 0 && (std::isalnum(static_cast<unsigned char>(code[begin - 1])) || code[begin - 1] == '_' ||
                         code[begin - 1] == '~'))
        --begin;
    return code.substr(begin, end - begin);
}

// The names `body` declares, in order: its virtual operations as "Family: name" (a line
// "// ---- NAME ----" opens a family), or with `overrides` its overrides as bare names.
std::vector<std::string> Slots(const std::string& body, bool overrides) {
    std::vector<std::string> slots;
    std::string family = "(none)";
    std::istringstream lines(body);
    for (std::string line; std::getline(lines, line);) {
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos) continue;
        if (line.compare(first, 8, "// ---- ") == 0) family = line.substr(first + 8, line.rfind(" ----") - first - 8);
        const std::string code = line.substr(first, line.find("//") - first);
        const bool wanted = overrides
                                ? code.find(" override") != std::string::npos && code.find('(') != std::string::npos
                                : code.rfind("virtual ", 0) == 0;
        if (wanted) slots.push_back(overrides ? DeclaredName(code) : family + ": " + DeclaredName(code));
    }
    return slots;
}

TEST(InterfaceSlotOrder, CNorvikDeclaresEveryFamilyAndOperationInThePublishedOrder) {
    const std::string body = ClassBody(ReadSource("interface/norvik.h"), "CNorvik");
    ASSERT_FALSE(body.empty()) << "class CNorvik not found";
    std::string listing;
    uint64_t fingerprint = 1469598103934665603ull;  // FNV-1a over the listing
    const auto slots = Slots(body, false);
    for (const auto& slot : slots) listing += slot + "\n";
    for (const unsigned char c : listing) fingerprint = (fingerprint ^ c) * 1099511628211ull;
    EXPECT_EQ(slots.size(), kSlotCount) << listing;
    EXPECT_EQ(fingerprint, kSlotFingerprint) << listing;
}

// The back end keeps its overrides in the interface's order: read in order, they must be
// found one after another in the interface's sequence of operations.
TEST(InterfaceSlotOrder, CNorvikSqlOverridesFollowTheInterfaceOrder) {
    std::vector<std::string> slots;
    for (const auto& slot : Slots(ClassBody(ReadSource("interface/norvik.h"), "CNorvik"), false))
        slots.push_back(slot.substr(slot.rfind(' ') + 1));
    const std::string body = ClassBody(ReadSource("sql/norvik_sql.h"), "CNorvikSql");
    ASSERT_FALSE(body.empty()) << "class CNorvikSql not found";
    size_t next = 0;
    int overrides = 0;
    for (std::string name : Slots(body, true)) {
        if (name == "~CNorvikSql") name = "~CNorvik";
        if (name == "HandleSqlException") continue;  // an override of the statement helpers' base
        size_t at = next;
        while (at < slots.size() && slots[at] != name) ++at;
        ASSERT_LT(at, slots.size()) << name << " is overridden out of the interface's order (after "
                                    << (next > 0 ? slots[next - 1] : "the start") << ")";
        next = at + 1;
        ++overrides;
    }
    EXPECT_GT(overrides, 250);
}

}  // namespace
