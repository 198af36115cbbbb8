#include "bench/stats.h"

#include <cstdio>
#include <fstream>
#include <iomanip>
#include <sstream>

#include <nlohmann/json.hpp>

namespace bench {

namespace {

std::string number(double value) {
    std::ostringstream text;
    text << std::setprecision(4) << value;
    return text.str();
}

std::string ratioText(double value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(4) << value;
    return text.str();
}

nlohmann::json jsonOf(const Spread &spread) {
    return {{"median", spread.median}, {"low", spread.low}, {"high", spread.high}};
}

} // namespace

void Table::add(const Row &row) {
    std::printf("%-12s %-44s %s (%s .. %s) of %s\n", row.group.c_str(), row.subject.c_str(),
                ratioText(row.ratio.median).c_str(), ratioText(row.ratio.low).c_str(),
                ratioText(row.ratio.high).c_str(), row.beside.c_str());
    std::fflush(stdout);
    m_rows.push_back(row);
}

void Table::writeMarkdown(const std::string &path) const {
    std::ofstream out(path);
    out << "| Group | Subject | Beside | Unit | Ours | Theirs | Ratio (quartiles) | Rounds | Note "
           "|\n"
        << "|---|---|---|---|---|---|---|---|---|\n";
    for (const Row &row : m_rows) {
        out << "| " << row.group << " | " << row.subject << " | " << row.beside << " | " << row.unit
            << " | " << number(row.ours.median) << " | " << number(row.theirs.median) << " | "
            << ratioText(row.ratio.median) << " (" << ratioText(row.ratio.low) << " .. "
            << ratioText(row.ratio.high) << ") | " << row.rounds << " | " << row.note << " |\n";
    }
}

void Table::writeJson(const std::string &path) const {
    nlohmann::json rows = nlohmann::json::array();
    for (const Row &row : m_rows) {
        rows.push_back({{"group", row.group},
                        {"subject", row.subject},
                        {"beside", row.beside},
                        {"unit", row.unit},
                        {"ours", jsonOf(row.ours)},
                        {"theirs", jsonOf(row.theirs)},
                        {"ratio", jsonOf(row.ratio)},
                        {"rounds", row.rounds},
                        {"note", row.note}});
    }
    std::ofstream(path) << rows.dump(2) << '\n';
}

} // namespace bench
