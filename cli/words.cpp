#include "cli/words.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "cli/cli_context.h"

namespace cli {

namespace {

bool Listed(const std::vector<std::string>& names, const std::string& word) {
    return std::find(names.begin(), names.end(), word) != names.end();
}

}  // namespace

bool Words::Has(const std::string& option) const {
    return std::any_of(options.begin(), options.end(), [&](const auto& entry) { return entry.first == option; });
}

const std::string& Words::Value(const std::string& option) const {
    static const std::string kAbsent;
    const auto last = std::find_if(options.rbegin(), options.rend(), [&](const auto& e) { return e.first == option; });
    return last == options.rend() ? kAbsent : last->second;
}

std::string SplitWords(const std::vector<std::string>& words, const WordRules& rules, Words* out) {
    bool literal = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!literal && word == "--") {
            literal = true;
        } else if (literal || word.rfind("--", 0) != 0) {
            out->positional.push_back(word);
        } else if (Listed(rules.flags, word)) {
            out->options.emplace_back(word, std::string());
        } else if (!Listed(rules.valued, word)) {
            return "unknown option " + word;
        } else if (i + 1 >= words.size()) {
            return word + " needs a value";
        } else {
            out->options.emplace_back(word, words[++i]);
        }
    }
    if (out->positional.size() < rules.least || out->positional.size() > rules.most) return "wrong number of arguments";
    return std::string();
}

bool SplitSubCommandWords(const std::vector<std::string>& args, const WordRules& rules, const std::string& usage,
                          Words* out) {
    const std::vector<std::string> words(args.empty() ? args.end() : args.begin() + 1, args.end());
    const std::string problem = SplitWords(words, rules, out);
    if (problem.empty()) return true;
    PrintError(problem + "; usage: norvik " + usage);
    return false;
}

bool ParseAddress(const std::string& text, CIPAddress* address) {
    ULong number = 0;
    std::size_t at = 0;
    for (int part = 0; part < 4; ++part) {
        std::size_t end = at;
        while (end < text.size() && end - at < 4 && text[end] >= '0' && text[end] <= '9') ++end;
        if (end == at || end - at > 3) return false;
        const ULong value = static_cast<ULong>(std::stoul(text.substr(at, end - at)));
        if (value > 255) return false;
        number = (number << 8) | value;
        const bool last = part == 3;
        if (last ? end != text.size() : (end >= text.size() || text[end] != '.')) return false;
        at = end + 1;
    }
    *address = CIPAddress(number);
    return true;
}

bool ParseInt(const std::string& text, int* number) {
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (*end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX) return false;
    *number = static_cast<int>(value);
    return true;
}

bool ParseId(const std::string& text, ULong* id) {
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos) return false;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (value == 0 || value > 0xFFFFFFFFull) return false;
    *id = static_cast<ULong>(value);
    return true;
}

const SubCommandSpec* PickSubCommand(const char* verb, const std::vector<std::string>& args,
                                     const std::vector<SubCommandSpec>& commands, Words* out,
                                     const SubCommandSpec* bare) {
    const std::string sub = args.empty() ? "" : args[0];
    for (const SubCommandSpec& command : commands)
        if (sub == command.name)
            return SplitSubCommandWords(args, command.rules, command.usage, out) ? &command : nullptr;
    if (bare) {
        const std::string problem = SplitWords(args, bare->rules, out);
        if (problem.empty()) return bare;
        PrintError(problem + "; usage: norvik " + bare->usage);
        return nullptr;
    }
    // A verb's help covers the commands of its sub-verbs ("licence type").
    const std::string helpVerb = std::string(verb).substr(0, std::string(verb).find(' '));
    PrintError(
        (sub.empty() ? std::string(verb) + " needs a command" : "unknown " + std::string(verb) + " command " + sub) +
        " (see norvik " + helpVerb + " --help)");
    return nullptr;
}

}  // namespace cli
