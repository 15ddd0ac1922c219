// kestrim speed: how fast the algorithms are on this machine, digests and ciphers at several message sizes.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/cipher_table.hpp"
#include "tools/command_line.hpp"
#include "tools/key_speed.hpp"
#include "tools/library.hpp"
#include "tools/message_cipher.hpp"
#include "tools/output.hpp"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>

namespace tool {
namespace {

constexpr std::size_t kSizes[] = {16, 1024, 16 * 1024, 1024 * 1024}; // bytes; columns of the table
constexpr double kSecondsPerCell = 0.1;
constexpr std::size_t kRc4KeyBytes = 16;
constexpr std::size_t kBytesPerLook = 16 * 1024; // between two looks at the clock

using message = std::span<const std::uint8_t>;

double now()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// How often work can be done in a second.
double rate(const std::function<void()>& work)
{
    work(); // caches and clock rates settle

    std::size_t count = 0;
    double seconds = 0;
    const double start = now();
    do {
        work();
        ++count;
        seconds = now() - start;
    } while (seconds < kSecondsPerCell);
    return double(count) / seconds;
}

// Megabytes (10^6 bytes) per second.
double throughput(message message, const std::function<void(tool::message)>& work)
{
    const std::size_t repeats = std::max<std::size_t>(1, kBytesPerLook / message.size());
    const double batches = rate([&] {
        for (std::size_t i = 0; i < repeats; ++i)
            work(message);
    });
    return batches * double(repeats) * double(message.size()) / 1e6;
}

std::string first_cell(const std::string& name)
{
    char cell[64];
    std::snprintf(cell, sizeof cell, "%-16s", name.c_str());
    return cell;
}

std::string cell(double value)
{
    char cell[64];
    std::snprintf(cell, sizeof cell, " %9.1f", value);
    return cell;
}

void write_row(const std::string& name, message longest, const std::function<void(message)>& work)
{
    std::string row = first_cell(name);
    for (const std::size_t size : kSizes)
        row += cell(throughput(longest.first(size), work));
    write(row + "\n");
}

void measure_key(const std::string& name)
{
    const key_work key = new_key_work(name);
    std::string row = first_cell(name);
    for (const auto* work : {&key.sign, &key.verify, &key.agree})
        row += *work ? cell(rate(*work)) : "         -";
    write(row + "\n");
}

// Each message is hashed on its own, from the unit's Init to its Final.
void measure_digest(const std::string& name, message longest)
{
    const std::int32_t id = ZRC_Get_DIGEST_Alg_ID_By_Name(name.c_str());
    write_row(name, longest, [&](message message) {
        std::uint8_t output[64];
        require(ZRC_DIGEST(id, message.data(), std::int32_t(message.size()), output, nullptr), "ZRC_DIGEST");
    });
}

// Encryption of one long message in updates of the given size, so without the time of the key schedule.
void measure_cipher(const cipher_mode& cipher, message longest)
{
    // The keys of triple DES in this pattern differ, as they should.
    std::vector<std::uint8_t> key(cipher.is_rc4 ? kRc4KeyBytes : cipher.key_bytes);
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = std::uint8_t(0x11 * i + 1);
    const std::vector<std::uint8_t> iv(cipher.iv_bytes);
    std::vector<std::uint8_t> out(longest.size() + kLongestBlock);
    const auto unit = new_message_cipher(cipher, key, iv, true);
    write_row(cipher.name, longest, [&](message message) { unit->update(message, out); });
}

std::vector<std::string> names_of(auto wanted)
{
    std::vector<std::string> names = digest_names();
    for (const cipher_mode& cipher : all_cipher_modes())
        if (wanted(cipher)) names.push_back(cipher.name);
    return names;
}

std::vector<std::string> all_names()
{
    std::vector<std::string> names = names_of([](const cipher_mode&) { return true; });
    const std::vector<std::string> keys = key_work_names();
    names.insert(names.end(), keys.begin(), keys.end());
    return names;
}

// What is measured when nothing is named: all but CFB with short segments, many times slower than CFB itself.
std::vector<std::string> usual_names()
{
    return names_of([](const cipher_mode& cipher) { return !cipher.segments.process; });
}

// A digest, a cipher in a mode or a key by its usual name.
std::string known_name(const std::string& given)
{
    for (const std::string& name : all_names())
        if (normalised(name) == normalised(given)) return name;
    throw failure{kUsage, "unknown algorithm " + given + "; see the --help of kestrim dgst, enc and speed"};
}

void measure_messages(const std::vector<std::string>& names)
{
    if (names.empty()) return;
    const std::vector<std::string> digests = digest_names();
    const std::vector<std::uint8_t> longest(std::ranges::max(kSizes));
    write("MB/s                  16 B     1 KiB    16 KiB     1 MiB\n");
    for (const std::string& name : names) {
        if (std::ranges::find(digests, name) != digests.end())
            measure_digest(name, longest);
        else
            measure_cipher(find_cipher_mode(name), longest);
    }
}

void measure_keys(const std::vector<std::string>& names)
{
    if (names.empty()) return;
    write("operations/s          sign    verify     agree\n");
    std::ranges::for_each(names, measure_key);
}

void run(const std::vector<std::string>& given, const session& session)
{
    const std::vector<std::string> all_keys = key_work_names();
    std::vector<std::string> others, keys;
    for (const std::string& word : given) {
        const std::string name = known_name(plain(word));
        const bool key = std::ranges::find(all_keys, name) != all_keys.end();
        (key ? keys : others).push_back(name);
    }
    if (given.empty()) {
        others = usual_names();
        keys = all_keys;
    }

    start_library("speed", false, session);
    measure_messages(others);
    measure_keys(keys);
}

} // namespace

void add_speed(CLI::App& app, session& session)
{
    const auto names = std::make_shared<std::vector<std::string>>();
    std::string keys;
    for (const std::string& name : key_work_names())
        keys += " " + name;
    const subcommand command{app, "speed", "Measure the algorithms on this machine"};
    command.add("NAME", *names,
                "Digests, ciphers with a mode, such as aria-128-cbc, and keys:" + keys +
                    "; when none is given, all but ciphers in cfb1 to cfb64");
    command.add_notes(
        "Half a second for each line, outside proven mode. Digests: whole messages of the size. Ciphers:\n"
        "encryption of a long message in pieces of the size. Keys: signatures of messages of 64 bytes with\n"
        "SHA-256, for RSA with PSS; secrets with the check of the other public value. The keys are new, which\n"
        "takes a second or so.");
    command.set_action([names, &session] { run(*names, session); });
}

} // namespace tool
