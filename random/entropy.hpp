// What the inner code knows of entropy collection: where the sources lie, and a seed for the legacy generator.
#pragma once

#include "kestrim/entropy.h"

#include <cstdint>
#include <span>

namespace zrc {

// The files that the sources read. The library knows only kSystemPaths; tests collect from trees of their own.
struct source_paths {
    const char* random_device;
    const char* processes; // the directory in which "<process id>/stat" is found
    const char* task_directory;
    const char* kernel_statistics;
    const char* cpu_information;
    const char* memory_information;
    const char* extended_network_counters;
    const char* network_counters;
    const char* shared_memory_pages;
    const char* shared_memory_bytes;
    const char* file_system;
};

inline constexpr source_paths kSystemPaths = {
    .random_device = "/dev/urandom",
    .processes = "/proc",
    .task_directory = "/proc/self/task",
    .kernel_statistics = "/proc/stat",
    .cpu_information = "/proc/cpuinfo",
    .memory_information = "/proc/meminfo",
    .extended_network_counters = "/proc/net/netstat",
    .network_counters = "/proc/net/snmp",
    .shared_memory_pages = "/proc/sys/kernel/shmall",
    .shared_memory_bytes = "/proc/sys/kernel/shmmax",
    .file_system = "/",
};

// Runs the sources of the unit's level and appends what they give to its buffer; false for an unknown level.
bool collect_entropy(ZRC_ENTROPY_UNIT& unit, const source_paths& paths) noexcept;

// Fills `out` from system statistics and the random device (normal level, SHA-512); returns 0 or the code of
// zrc_Get_ENTROPY. `out` must not be empty.
std::uint32_t seed_from_system(std::span<std::uint8_t> out) noexcept;

} // namespace zrc
