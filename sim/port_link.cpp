#include "sim/port_link.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view marked_folder = "/dev/pts/./";

// The same pseudo terminal, written so that a link to it is known again.
std::string marked(const std::string &path) {
    return std::string(marked_folder) + fs::path(path).filename().string();
}

bool is_marked(const std::string &target) {
    return target.size() > marked_folder.size() && target.rfind(marked_folder, 0) == 0 &&
           target.find_first_not_of("0123456789", marked_folder.size()) == std::string::npos;
}

// A name of the machine, not of its file system, that stands for this user's link in this folder.
sockaddr_un address_of(const std::string &link) {
    const fs::path whole = fs::absolute(link);
    struct stat folder {};
    ::stat(whole.parent_path().c_str(), &folder);
    const std::string name = "pinpad-sim " + std::to_string(::geteuid()) + ' ' +
                             std::to_string(folder.st_dev) + ' ' + std::to_string(folder.st_ino) +
                             ' ' +
                             std::to_string(std::hash<std::string>{}(whole.filename().string()));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), std::begin(address.sun_path) + 1);
    return address;
}

} // namespace

void PortLink::point_to(const std::string &path) {
    if (name_.empty()) {
        return;
    }
    claim();
    try {
        replace(marked(path));
    } catch (...) {
        remove();
        throw;
    }
}

void PortLink::remove() {
    std::error_code ignored;
    if (!target_.empty() && fs::read_symlink(name_, ignored) == target_) {
        fs::remove(name_, ignored);
    }
    target_.clear();
    if (claim_ >= 0) {
        ::close(claim_);
    }
    claim_ = -1;
}

void PortLink::claim() {
    claim_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(name_);
    if (claim_ >= 0 &&
        ::bind(claim_, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
        return;
    }
    const int error = errno;
    remove();
    if (error == EADDRINUSE) {
        throw std::runtime_error("another virtual PIN pad keeps the link '" + name_ + "'");
    }
    throw std::system_error(error, std::generic_category(),
                            "cannot claim the link '" + name_ + "'");
}

void PortLink::replace(const std::string &target) {
    struct stat status {};
    if (::lstat(name_.c_str(), &status) == 0) {
        std::error_code none;
        const fs::path found = fs::read_symlink(name_, none);
        if (status.st_uid != ::geteuid() || !is_marked(found.string())) {
            throw std::runtime_error("'" + name_ +
                                     "' exists and is no link that a virtual PIN pad of this user "
                                     "has left behind");
        }
        fs::remove(name_);
    }
    std::error_code error;
    fs::create_symlink(target, name_, error);
    if (error) {
        throw std::system_error(error, "cannot make the link '" + name_ + "'");
    }
    target_ = target;
}

} // namespace sim
