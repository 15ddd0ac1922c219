#include "tools/kcdsa_key_file.hpp"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

struct form {
    std::string_view label;
    std::size_t numbers; // of p, q, g, y, x
};

constexpr form kForms[] = {{"KCDSA PARAMETERS", 3}, {"KCDSA PUBLIC KEY", 4}, {"KCDSA PRIVATE KEY", 5}};

} // namespace

bool is_kcdsa(const pem_block& block)
{
    return std::ranges::find(kForms, block.label, &form::label) != std::end(kForms);
}

kcdsa_key read_kcdsa_key(const pem_block& block)
{
    const auto form = std::ranges::find(kForms, block.label, &form::label);
    if (form == std::end(kForms)) throw malformed{"not a KCDSA key: the PEM block is called " + block.label};

    der::reader fields = der::only_sequence(block.content);
    if (!fields.number().empty()) throw malformed{"the version of the key's format is not 0"};
    kcdsa_key key;
    bytes* const numbers[] = {&key.p, &key.q, &key.g, &key.y, &key.x};
    for (bytes* number : std::span{numbers}.first(form->numbers))
        *number = fields.positive();
    fields.finish();
    return key;
}

std::string write_kcdsa_pem(const kcdsa_key& key)
{
    bytes content;
    const auto append = [&](const bytes& number) {
        const bytes encoded = der::number(number);
        content.insert(content.end(), encoded.begin(), encoded.end());
    };
    append({}); // the version
    for (const bytes* number : {&key.p, &key.q, &key.g, &key.y, &key.x})
        if (!number->empty()) append(*number);

    const std::size_t form = key.y.empty() ? 0 : key.x.empty() ? 1 : 2;
    return write_pem(kForms[form].label, der::object(der::tag::sequence, content));
}

} // namespace tool
