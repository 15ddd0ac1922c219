// The check of a list of digests, as sha256sum --check does it, but an ill-formed line counts as a failure: a damaged
// list must not pass because the damage hid an entry.
#include "tools/dgst.hpp"
#include "tools/input.hpp"
#include "tools/line.hpp"
#include "tools/output.hpp"

#include <cstddef>
#include <string_view>

namespace tool {
namespace {

constexpr std::size_t kLongestLine = 1 << 20; // far above any path; keeps a file that is no list from filling memory

class list_checker {
public:
    list_checker(const algorithm& algorithm, const session& session) : algorithm_{algorithm}, session_{session} {}

    void check(std::string_view line)
    {
        if (line.empty() || line.starts_with('#')) return;
        const auto entry = parse_line(line, algorithm_.digest_bytes);
        if (!entry) {
            ++ill_formed_;
            return;
        }
        ++well_formed_;
        write(name_on_one_line(entry->name) + ": " + verdict(*entry) + "\n");
    }

    // Reports what went wrong in the list as a whole.
    bool finish(const std::string& list) const
    {
        if (well_formed_ == 0) report(list + ": no properly formatted checksum lines found");
        warn(ill_formed_, "line is improperly formatted", "lines are improperly formatted");
        warn(unreadable_, "listed file could not be read", "listed files could not be read");
        warn(different_, "computed digest did NOT match", "computed digests did NOT match");
        return well_formed_ != 0 && ill_formed_ + unreadable_ + different_ == 0;
    }

private:
    const char* verdict(const checksum_line& entry)
    {
        try {
            if (digest_of(entry.name, algorithm_, session_) == entry.value) return "OK";
            ++different_;
            return "FAILED";
        } catch (const input_error& error) {
            report(error.what());
            ++unreadable_;
            return "FAILED open or read";
        }
    }

    static void warn(std::size_t count, const char* one, const char* more)
    {
        if (count != 0) report("WARNING: " + std::to_string(count) + " " + (count == 1 ? one : more));
    }

    const algorithm& algorithm_;
    const session& session_;
    std::size_t well_formed_ = 0;
    std::size_t ill_formed_ = 0;
    std::size_t unreadable_ = 0;
    std::size_t different_ = 0;
};

} // namespace

bool check_list(const std::string& list, const algorithm& algorithm, const session& session)
{
    list_checker checker{algorithm, session};
    tool::session silent = session; // the files show progress, their list does not
    silent.quiet = true;

    std::string line;
    try {
        read_pieces(list, silent, [&](auto piece) {
            for (const std::uint8_t byte : piece) {
                if (byte != '\n') {
                    line += char(byte);
                    if (line.size() > kLongestLine) throw input_error{list + ": line too long"};
                    continue;
                }
                checker.check(line);
                line.clear();
            }
        });
    } catch (const input_error& error) {
        report(error.what());
        return false;
    }
    checker.check(line);
    return checker.finish(list);
}

} // namespace tool
