#include "tests/crypto/memory_scan.h"

#include "core/memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr std::uint8_t MASK = 0x5A;

// The sanitizers reserve terabytes; nothing that is looked for is as far as that.
constexpr std::uintptr_t LARGEST_REGION = std::uintptr_t{64} << 20;

// The window through which memory is looked at. It is wiped after each look, and what is seen
// inside of it does not count.
std::uint8_t window[std::size_t{1} << 16];

bool isInWindow(std::uintptr_t address) {
    const auto start = reinterpret_cast<std::uintptr_t>(window);
    return address >= start && address < start + sizeof window;
}

// Fills the window from the address on, through the kernel: reading freed memory in any other way
// is not defined. Gives how many bytes could be read.
std::size_t look(std::uintptr_t address, std::size_t size) {
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    const ssize_t count =
        pread(memory, window, std::min(sizeof window, size), static_cast<off_t>(address));
    close(memory);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

bool equalsMasked(std::uint8_t byte, std::uint8_t masked) {
    return static_cast<std::uint8_t>(byte ^ MASK) == masked;
}

struct Region {
    std::uintptr_t from;
    std::uintptr_t to;
};

std::vector<Region> writableRegions() {
    std::vector<Region> regions;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Region region{};
        char access[5] = {};
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s", &region.from, &region.to,
                        access) == 3 &&
            access[0] == 'r' && access[1] == 'w' && region.to - region.from <= LARGEST_REGION) {
            regions.push_back(region);
        }
    }
    return regions;
}

} // namespace

Secret::Secret(const void *bytes, std::size_t size) : m_masked(size) {
    const auto *from = static_cast<const std::uint8_t *>(bytes);
    std::transform(from, from + size, m_masked.begin(),
                   [](std::uint8_t byte) { return static_cast<std::uint8_t>(byte ^ MASK); });
}

std::size_t Secret::occurrences() const {
    std::size_t count = 0;
    for (const Region &region : writableRegions()) {
        count += countIn(region.from, region.to);
    }
    return count;
}

bool Secret::standsAt(std::uintptr_t address) const {
    return countIn(address, address + m_masked.size()) == 1;
}

std::size_t Secret::countIn(std::uintptr_t from, std::uintptr_t to) const {
    std::size_t count = 0;
    for (std::size_t seen = m_masked.size();
         to - from >= m_masked.size() && seen >= m_masked.size();
         from += seen - m_masked.size() + 1) {
        seen = look(from, to - from);
        const std::uint8_t *end = window + seen;
        for (const std::uint8_t *at = window;; ++at) {
            at = std::search(at, end, m_masked.begin(), m_masked.end(), equalsMasked);
            if (at == end) {
                break;
            }
            if (!isInWindow(from + static_cast<std::uintptr_t>(at - window))) {
                ++count;
            }
        }
        pcl_wipe(window, sizeof window);
    }
    return count;
}
