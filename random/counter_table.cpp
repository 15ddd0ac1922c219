// The tables of counters in /proc/net: pairs of lines, names and then values.
#include "kestrim/entropy.h"
#include "kestrim/memory.h"
#include "random/text_file.hpp"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace zrc {
namespace {

// An entry named prefix and name, in front of `next`; null without memory. The name lies behind the entry.
ZRC_ENTROPY_TABLE_ENTRY* new_entry(std::string_view prefix, std::string_view name,
                                   ZRC_ENTROPY_TABLE_ENTRY* next) noexcept
{
    const std::size_t bytes = sizeof(ZRC_ENTROPY_TABLE_ENTRY) + prefix.size() + name.size() + 1;
    auto* entry = static_cast<ZRC_ENTROPY_TABLE_ENTRY*>(ZRC_Malloc(std::uint32_t(bytes)));
    if (!entry) return nullptr;
    auto* text = reinterpret_cast<char*>(entry + 1);
    std::memcpy(text, prefix.data(), prefix.size());
    std::memcpy(text + prefix.size(), name.data(), name.size());
    text[prefix.size() + name.size()] = '\0';
    *entry = {next, text, 0};
    return entry;
}

// Takes the last blank-separated word from the end of the text; empty when there is none.
std::string_view take_last_word(std::string_view& text) noexcept
{
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    std::size_t start = text.size();
    while (start != 0 && !is_blank(text[start - 1]))
        --start;
    const std::string_view last{text.data() + start, text.size() - start};
    text.remove_suffix(last.size());
    return last;
}

// Puts an entry for each name of a header line in front of the list, so that the last name comes first. Sets `count`
// to their number; false without memory.
bool push_names(const char* header, ZRC_ENTROPY_TABLE_ENTRY*& newest, std::size_t& count) noexcept
{
    const char* colon = std::strchr(header, ':');
    if (!colon) std::abort();
    const std::string_view prefix{header, std::size_t(colon - header)};

    count = 0;
    for (const char* name = word(colon + 1, 0); *name != '\0'; name = word(name, 1)) {
        const std::size_t length = std::strcspn(name, " \t");
        auto* entry = new_entry(prefix, {name, length}, newest);
        if (!entry) return false;
        newest = entry;
        ++count;
    }
    return true;
}

// Gives the newest `count` entries their values, which are read from the end of the line: last name, last value.
void set_values(char* line, ZRC_ENTROPY_TABLE_ENTRY* newest, std::size_t count) noexcept
{
    std::string_view values{line};
    for (auto* entry = newest; count != 0; entry = entry->next, --count) {
        const std::string_view value = take_last_word(values);
        line[std::size_t(value.data() - line) + value.size()] = '\0'; // what stood behind it has been read
        char* end;
        entry->value = std::strtoul(value.data(), &end, 10);
        if (end == value.data()) std::abort();
    }
}

} // namespace
} // namespace zrc

void load_ugly_table(const char* path, ZRC_ENTROPY_TABLE_ENTRY** list)
{
    if (!path || !list) return;
    zrc::line_reader lines{path};
    ZRC_ENTROPY_TABLE_ENTRY* newest = nullptr;
    while (const char* header = lines.next()) {
        std::size_t count = 0;
        if (!zrc::push_names(header, newest, count)) {
            free_ugly_table(newest);
            return;
        }
        char* values = lines.next();
        if (!values) std::abort();
        zrc::set_values(values, newest, count);
    }
    while (newest) { // turned round: the entries come out in the order of the file
        auto* entry = newest;
        newest = entry->next;
        entry->next = *list;
        *list = entry;
    }
}

void free_ugly_table(ZRC_ENTROPY_TABLE_ENTRY* list)
{
    while (list) {
        auto* next = list->next;
        const std::size_t bytes = sizeof *list + std::strlen(list->name) + 1; // the name lies behind the entry
        ZRC_Free_Ex(list, std::uint32_t(bytes));
        list = next;
    }
}
