#include "tools/progress.hpp"

#include <cstdio>
#include <string>

namespace tool {

using namespace std::chrono_literals;

progress::progress(bool shown, std::uint64_t total) : shown_{shown}, total_{total}, next_{start_ + 1s} {}

progress::~progress()
{
    erase();
}

void progress::add(std::size_t bytes)
{
    if (!shown_) return;
    done_ += bytes;
    const clock::time_point now = clock::now();
    if (now < next_) return;
    next_ = now + 200ms;
    show(std::chrono::duration<double>(now - start_).count());
}

// `seconds` is at least 1: nothing is shown earlier.
void progress::show(double seconds)
{
    const double megabytes = double(done_) / 1e6;
    char line[80];
    int length = 0;
    // A file can grow while it is read; then its old size says nothing.
    if (total_ >= done_ && total_ != 0) {
        length = std::snprintf(line, sizeof line, "%3.0f%%  %.0f MB  %.0f MB/s", 100.0 * double(done_) / double(total_),
                               megabytes, megabytes / seconds);
    } else {
        length = std::snprintf(line, sizeof line, "%.0f MB  %.0f MB/s", megabytes, megabytes / seconds);
    }
    erase();
    std::fputs(line, stderr);
    std::fflush(stderr);
    width_ = length > 0 ? std::size_t(length) : 0;
}

void progress::erase()
{
    if (width_ == 0) return;
    std::fputs(("\r" + std::string(width_, ' ') + "\r").c_str(), stderr);
    width_ = 0;
}

} // namespace tool
