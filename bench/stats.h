#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

// Figures taken in pairs, and the table they end up in.

namespace bench {

enum class Clock { CPU, WALL };

// CPU is that of the calling thread: what runs beside it on the machine costs it nothing.
inline double now(Clock clock) {
    timespec time{};
    clock_gettime(clock == Clock::CPU ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <typename Body>
double seconds(Clock clock, Body &&body) {
    const double start = now(clock);
    body();
    return now(clock) - start;
}

// The median, and the quartiles as the spread.
struct Spread {
    double median = 0;
    double low = 0;
    double high = 0;
};

inline Spread spreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    return {values[last / 2], values[last / 4], values[last - last / 4]};
}

struct Row {
    std::string group;
    std::string subject;
    std::string beside;
    std::string unit;
    Spread ours;
    Spread theirs;
    Spread ratio;
    std::size_t rounds = 0;
    std::string note;
};

class Table {
public:
    explicit Table(std::size_t rounds) : m_rounds(rounds) {}

    std::size_t rounds() const { return m_rounds; }

    // Each of `ours` and `theirs` returns the cost of one turn. They take turns, and the one that
    // begins changes with every round, so that a busy spell of the machine hits both.
    template <typename Ours, typename Theirs>
    void pair(Row row, Ours &&ours, Theirs &&theirs) {
        std::vector<double> left;
        std::vector<double> right;
        std::vector<double> ratios;
        ours();
        theirs();
        for (std::size_t round = 0; round < m_rounds; ++round) {
            if (round % 2 == 0) {
                left.push_back(ours());
                right.push_back(theirs());
            } else {
                right.push_back(theirs());
                left.push_back(ours());
            }
            ratios.push_back(left.back() / right.back());
        }
        row.ours = spreadOf(left);
        row.theirs = spreadOf(right);
        row.ratio = spreadOf(ratios);
        row.rounds = m_rounds;
        add(row);
    }

    void add(const Row &row);
    void writeMarkdown(const std::string &path) const;
    void writeJson(const std::string &path) const;

private:
    std::size_t m_rounds;
    std::vector<Row> m_rows;
};

void measureBytes(Table &table);
void measureCrypto(Table &table);
void measureExchanges(Table &table);
void measureLine(Table &table, std::size_t longLoad);
void measureStart(Table &table, const std::string &library);

// Writes the figures of the growth plots: subject, size, seconds.
void measureGrowth(const std::string &path);

} // namespace bench
