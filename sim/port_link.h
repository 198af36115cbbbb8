#pragma once

#include <string>

namespace sim {

// A symbolic link that names the port while the cable is in. An empty name stands for no link.
//
// It takes the place of a link that a device left behind when it was killed, and of nothing else.
// Such a link belongs to this user, is written as only this class writes one, "/dev/pts/./5", and
// no living device of the machine has claimed its name: a claim ends with its process.
class PortLink {
public:
    explicit PortLink(std::string name) : name_(std::move(name)) {}
    ~PortLink() { remove(); }
    PortLink(const PortLink &) = delete;
    PortLink &operator=(const PortLink &) = delete;

    const std::string &name() const { return name_; }

    // Makes the link name this pseudo terminal. Throws std::runtime_error when it cannot be made or
    // when something is in its place that is not left behind.
    void point_to(const std::string &path);
    void remove();

private:
    void claim();
    void replace(const std::string &target);

    std::string name_;
    std::string target_; // empty while there is no link
    int claim_ = -1;
};

} // namespace sim
