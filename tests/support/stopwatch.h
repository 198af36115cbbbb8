#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>

/// A time that has passed. It is at least what the clock says, and less than a limit if it is so
/// without the time in which threads of this process waited for a processor: on a machine that is
/// busy with other things a limit still holds.
struct Elapsed {
    std::chrono::nanoseconds wall{0};
    std::chrono::nanoseconds stolen{0};

    friend bool operator>=(const Elapsed &time, std::chrono::nanoseconds least) {
        return time.wall >= least;
    }
    friend bool operator<(const Elapsed &time, std::chrono::nanoseconds limit) {
        return time.wall - time.stolen < limit;
    }
    friend std::ostream &operator<<(std::ostream &out, const Elapsed &time) {
        return out << time.wall.count() / 1000000 << " ms (" << time.stolen.count() / 1000000
                   << " ms of them without a processor)";
    }
};

class Stopwatch {
public:
    Elapsed elapsed() const {
        const std::chrono::nanoseconds stolen = withoutProcessor() - m_stolenBefore;
        return {std::chrono::steady_clock::now() - m_start,
                std::max(stolen, std::chrono::nanoseconds::zero())};
    }

private:
    // Of all threads that have not ended.
    static std::chrono::nanoseconds withoutProcessor() {
        std::chrono::nanoseconds sum{0};
        for (const auto &thread : std::filesystem::directory_iterator("/proc/self/task")) {
            std::ifstream statistics(thread.path() / "schedstat");
            std::chrono::nanoseconds::rep running = 0;
            std::chrono::nanoseconds::rep waiting = 0;
            if (statistics >> running >> waiting) {
                sum += std::chrono::nanoseconds(waiting);
            }
        }
        return sum;
    }

    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::chrono::nanoseconds m_stolenBefore = withoutProcessor();
};

template <typename Body>
Elapsed timeOf(Body body) {
    const Stopwatch watch;
    body();
    return watch.elapsed();
}
