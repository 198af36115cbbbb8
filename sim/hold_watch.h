#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <array>
#include <memory>
#include <string>

namespace sim {

// Ends the exclusive hold of a host that has gone without ending it, for example because it was
// killed. A serial port forgets the hold when the last one closes it; the slave of our pseudo
// terminal does not, because the device keeps it open too.
class HoldWatch {
public:
    // Watches the slave of this path, which the device holds open as this descriptor.
    HoldWatch(boost::asio::io_context &io, std::string path, int slave_fd);
    ~HoldWatch();
    HoldWatch(const HoldWatch &) = delete;
    HoldWatch &operator=(const HoldWatch &) = delete;

private:
    struct Events;

    void await_close();

    std::string path_;
    int slave_fd_;
    std::shared_ptr<Events> events_;
};

} // namespace sim
