#include "sim/scenario_file.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace sim {

std::string read_scenario(const std::string &path) {
    std::error_code unknown;
    if (std::filesystem::is_directory(path, unknown)) {
        throw std::runtime_error("it is a directory");
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    std::string text;
    std::array<char, 65536> piece{};
    while (in && text.size() <= max_scenario) {
        in.read(piece.data(), piece.size());
        text.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (!in.is_open() || in.bad()) {
        throw std::runtime_error(std::generic_category().message(errno));
    }
    if (text.size() > max_scenario) {
        throw std::runtime_error("it has more than " + std::to_string(max_scenario) + " bytes");
    }
    return text;
}

} // namespace sim
