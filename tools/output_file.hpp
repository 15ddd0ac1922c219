// An output that is complete or not there at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tool {

enum class readers {
    usual, // as the umask says
    owner, // mode 0600, for keys
};

// Bytes for a file, or for standard output when the name is "-". A file is written under a temporary name in its folder,
// readable by its owner only, and takes its name and its permissions in commit(); a file that has the name already
// stays as it is until then. Without commit() the temporary file is removed, also when a signal ends the program.
// Standard output, and names of what is no regular file, such as /dev/null, are written directly. One at a time.
// Everything throws failure.
class output_file {
public:
    explicit output_file(const std::string& name, readers readers = readers::usual);
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;
    ~output_file();

    void write(std::span<const std::uint8_t> bytes);
    void commit();

private:
    [[noreturn]] void fail(int error) const;
    void open_directly();
    void open_temporary();

    std::string name_; // for messages
    readers readers_;
    std::string target_; // the name with symbolic links followed; empty: written directly
    int descriptor_ = -1;
};

} // namespace tool
