// The words after a sub-command of the norvik tool, split into positionals and options by
// one rule for every verb.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "common/ipaddress.h"

namespace cli {

// What a sub-command accepts.
struct WordRules {
    std::vector<std::string> flags;   // options without a value
    std::vector<std::string> valued;  // options followed by their value
    std::size_t least = 0;            // positionals, at least and at most
    std::size_t most = static_cast<std::size_t>(-1);
};

struct Words {
    std::vector<std::string> positional;
    std::vector<std::pair<std::string, std::string>> options;  // in command-line order; "" for flags

    bool Has(const std::string& option) const;
    // The value of the option's last occurrence; "" when it is absent.
    const std::string& Value(const std::string& option) const;
};

// Empty when `words` fit `rules`, else the one problem to report: "unknown option X",
// "X needs a value" or "wrong number of arguments". After "--" every word is positional, so a
// name may begin with dashes; a word of one dash is positional too.
std::string SplitWords(const std::vector<std::string>& words, const WordRules& rules, Words* out);

// SplitWords of the words after args[0], the sub-command. A problem is printed with the
// sub-command's synopsis ("...; usage: norvik <usage>") and gives false.
bool SplitSubCommandWords(const std::vector<std::string>& args, const WordRules& rules, const std::string& usage,
                          Words* out);

// Strict dotted IPv4 text: four decimal parts of one to three digits, each at most 255.
bool ParseAddress(const std::string& text, CIPAddress* address);
// A whole decimal number (optional sign) that fits an int.
bool ParseInt(const std::string& text, int* number);
// A record id: decimal digits for 1 to 4294967295.
bool ParseId(const std::string& text, ULong* id);

}  // namespace cli

namespace cli {

// One sub-command of a verb: its name, what it accepts and its synopsis after "norvik ".
struct SubCommandSpec {
    const char* name;
    WordRules rules;
    const char* usage;
};

// The entry of `commands` named by args[0], its words split into `out`. A missing or unknown
// sub-command or words that do not fit are printed (naming `verb`) and give null. With `bare`
// (a verb whose own form takes an operand, as "web ASSET"), words that name no command are
// split whole by it instead, and `bare` is returned.
const SubCommandSpec* PickSubCommand(const char* verb, const std::vector<std::string>& args,
                                     const std::vector<SubCommandSpec>& commands, Words* out,
                                     const SubCommandSpec* bare = nullptr);

}  // namespace cli
