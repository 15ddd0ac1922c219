#include "tests/vector_file.hpp"

#include <fstream>
#include <stdexcept>

namespace test {
namespace {

void require(bool good, const std::string& place, const std::string& what)
{
    if (!good) throw std::runtime_error(place + ": " + what);
}

bytes parse_hex(const std::string& text, const std::string& place)
{
    static const std::string kDigits = "0123456789abcdef0123456789ABCDEF";
    bytes result;
    for (std::size_t i = 0; i < text.size(); i += text[i] == ' ' ? 1 : 2) {
        if (text[i] == ' ') continue;
        const std::size_t high = kDigits.find(text[i]);
        const std::size_t low = i + 1 < text.size() ? kDigits.find(text[i + 1]) : std::string::npos;
        require(high != std::string::npos && low != std::string::npos, place, "not hexadecimal bytes: " + text);
        result.push_back(std::uint8_t((high & 15) << 4 | (low & 15)));
    }
    return result;
}

// Names and texts of one stanza, as they stand in the file, become its values.
stanza finish_stanza(const std::map<std::string, std::string>& texts, const std::string& place)
{
    stanza result{place, {}};
    for (const auto& [name, text] : texts)
        if (name != "repeat") result.values[name] = parse_hex(text, place);
    if (const auto repeat = texts.find("repeat"); repeat != texts.end()) {
        require(!repeat->second.empty() && repeat->second.size() < 8 &&
                    repeat->second.find_first_not_of("0123456789") == std::string::npos,
                place, "not a count: " + repeat->second);
        const bytes once = result["message"];
        bytes& whole = result.values["message"];
        whole.resize(once.size() * std::stoul(repeat->second));
        for (std::size_t i = 0; i < whole.size(); ++i)
            whole[i] = once[i % once.size()];
    }
    return result;
}

} // namespace

std::string hex(std::span<const std::uint8_t> data)
{
    std::string text;
    for (const std::uint8_t byte : data)
        (text += "0123456789abcdef"[byte >> 4]) += "0123456789abcdef"[byte & 15];
    return text;
}

const bytes& stanza::operator[](const std::string& name) const
{
    const auto found = values.find(name);
    require(found != values.end(), place, "no value for " + name);
    return found->second;
}

std::vector<stanza> read_vectors(const std::string& file, const std::string& wanted)
{
    std::ifstream in{KESTRIM_SOURCE_DIR "/tests/vectors/" + file};
    require(in.is_open(), file, "cannot be opened");

    std::vector<stanza> found;
    std::map<std::string, std::string> texts;
    std::string section, name, first_place;
    const auto end_stanza = [&] {
        if (!texts.empty()) {
            stanza whole = finish_stanza(texts, first_place); // of every section: the whole file has to be sound
            if (section == wanted) found.push_back(std::move(whole));
        }
        texts.clear();
        name.clear();
    };

    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        const std::string place = file + ":" + std::to_string(++number);
        require(std::ranges::all_of(line, [](char c) { return c >= ' ' && c <= '~'; }), place, "not plain ASCII");
        if (line.starts_with('#')) continue;
        if (line.empty()) {
            end_stanza();
        } else if (line.starts_with('[')) {
            end_stanza();
            require(line.ends_with(']'), place, "unfinished heading");
            section = line.substr(1, line.size() - 2);
        } else if (line.starts_with(' ')) {
            require(!name.empty(), place, "nothing to continue");
            texts[name] += line;
        } else {
            const std::size_t equals = line.find(" =");
            require(!section.empty() && equals != std::string::npos && line.find(' ') == equals && equals != 0 &&
                        (equals + 2 == line.size() || line[equals + 2] == ' '),
                    place, "no 'name = value' in a section");
            if (texts.empty()) first_place = place;
            name = line.substr(0, equals);
            require(texts.emplace(name, line.substr(std::min(equals + 3, line.size()))).second, place,
                    "second " + name);
        }
    }
    require(in.eof(), file, "cannot be read");
    end_stanza();
    require(!found.empty(), file, "section [" + wanted + "] is missing or empty");
    return found;
}

bytes repeatable::data(std::size_t size)
{
    bytes result(size);
    for (std::uint8_t& byte : result)
        byte = std::uint8_t(engine_());
    return result;
}

} // namespace test
