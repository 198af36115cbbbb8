#pragma once

#include "sim/web/feed.h"
#include "sim/web/station.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace sim::web {

struct ServerOptions {
    std::string address = "127.0.0.1"; // a number; any other than loopback lets others in
    std::uint16_t port = 0;            // 0 for one that is free
    std::size_t max_connections = 32;
};

// Shows the station to browsers and lets them use it, from a thread of its own. Frames and changes
// reach them over WebSockets, at most some thirty times a second, however fast the line is.
class Server {
public:
    // Throws std::runtime_error when the address is not one or cannot be bound. The station and the
    // feed must outlive the server.
    Server(Station &station, Feed &feed, const ServerOptions &options = {});
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    std::uint16_t port() const;
    // What to open in a browser.
    std::string url() const;
    // Whether only this machine can reach it.
    bool local() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim::web
