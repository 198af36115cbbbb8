#pragma once

#include <string>

namespace sim {

// A symbolic link that names the port while the cable is in. An empty name stands for no link.
class PortLink {
public:
    explicit PortLink(std::string name) : name_(std::move(name)) {}
    ~PortLink() { remove(); }
    PortLink(const PortLink &) = delete;
    PortLink &operator=(const PortLink &) = delete;

    const std::string &name() const { return name_; }

    // Makes the link name this path, in place of a link left over from earlier. Throws
    // std::system_error when it cannot be made or when something other than a link is there.
    void point_to(const std::string &path);
    void remove();

private:
    std::string name_;
    bool made_ = false;
};

} // namespace sim
