#include "cli/words.h"

#include <algorithm>

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

const SubCommandSpec* PickSubCommand(const char* verb, const std::vector<std::string>& args,
                                     const std::vector<SubCommandSpec>& commands, Words* out) {
    const std::string sub = args.empty() ? "" : args[0];
    for (const SubCommandSpec& command : commands)
        if (sub == command.name)
            return SplitSubCommandWords(args, command.rules, command.usage, out) ? &command : nullptr;
    PrintError(
        (sub.empty() ? std::string(verb) + " needs a command" : "unknown " + std::string(verb) + " command " + sub) +
        " (see norvik " + verb + " --help)");
    return nullptr;
}

}  // namespace cli
