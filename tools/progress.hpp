// A line on the terminal that shows how far a long piece of work has come.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace tool {

class progress {
public:
    // `total` is the number of bytes to come, 0 when it is not known.
    progress(bool shown, std::uint64_t total);
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;
    ~progress(); // erases the line

    // Counts bytes done. Nothing is shown in the first second, and the line changes a few times a second only.
    void add(std::size_t bytes);

private:
    using clock = std::chrono::steady_clock;

    void show(double seconds);
    void erase();

    bool shown_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    clock::time_point start_ = clock::now();
    clock::time_point next_;
    std::size_t width_ = 0; // of the line on the terminal
};

} // namespace tool
