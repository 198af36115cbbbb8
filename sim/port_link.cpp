#include "sim/port_link.h"

#include <filesystem>
#include <system_error>

namespace sim {

void PortLink::point_to(const std::string &path) {
    if (name_.empty()) {
        return;
    }
    const std::filesystem::path link(name_);
    std::error_code ignored;
    const auto found = std::filesystem::symlink_status(link, ignored);
    if (std::filesystem::exists(found) && !std::filesystem::is_symlink(found)) {
        throw std::system_error(std::make_error_code(std::errc::file_exists),
                                "cannot replace '" + name_ + "' by a link");
    }
    std::filesystem::remove(link, ignored);
    std::error_code error;
    std::filesystem::create_symlink(path, link, error);
    if (error) {
        throw std::system_error(error, "cannot make the link '" + name_ + "'");
    }
    made_ = true;
}

void PortLink::remove() {
    std::error_code ignored;
    if (made_) {
        std::filesystem::remove(name_, ignored);
    }
    made_ = false;
}

} // namespace sim
