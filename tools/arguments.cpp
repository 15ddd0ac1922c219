#include "tools/arguments.hpp"

#include <cstring>

namespace tool {
namespace {

constexpr char kMark = '\x01';

// "[a,b]" is a list for CLI11, "{}" an empty one and "++" ends a subcommand. A word that is already marked gets one
// more mark, so that every word comes back as it was.
bool has_meaning_for_parser(std::string_view word)
{
    const std::size_t start = word.find_first_not_of(kMark);
    return start != word.npos && std::strchr("[{+", word[start]);
}

} // namespace

std::vector<std::string> parser_arguments(std::span<char*> arguments)
{
    std::vector<std::string> words;
    for (std::size_t i = arguments.size(); i > 1; --i) {
        std::string word = arguments[i - 1];
        words.push_back(has_meaning_for_parser(word) ? kMark + word : word);
    }
    return words;
}

std::string plain(std::string_view word)
{
    if (word.starts_with(kMark) && has_meaning_for_parser(word)) word.remove_prefix(1);
    return std::string{word};
}

std::vector<std::string> plain_files(const std::vector<std::string>& words)
{
    if (words.empty()) return {"-"};
    std::vector<std::string> files;
    for (const std::string& word : words)
        files.push_back(plain(word));
    return files;
}

void hide_argument(std::span<char*> arguments, std::string_view text)
{
    if (text.empty()) return;
    for (char* argument : arguments) {
        const std::size_t at = std::string_view{argument}.find(text);
        if (at != text.npos) std::memset(argument + at, '*', text.size());
    }
}

} // namespace tool
