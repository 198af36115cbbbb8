#pragma once

#include "sim/web/hub.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace sim::web {

// A browser connected over a WebSocket. One that reads too slowly misses frames and delays nobody.
// Belongs to the server's thread.
class Watcher : public std::enable_shared_from_this<Watcher> {
public:
    using Request = boost::beast::http::request<boost::beast::http::string_body>;

    Watcher(boost::beast::tcp_stream stream, Hub &hub) : socket_(std::move(stream)), hub_(hub) {}

    // Takes over the connection and the request that asked for it; opened is called when messages
    // can be sent.
    void accept(const Request &request, const std::function<void()> &opened);

    // Sends the browser what is new, unless a message is still being sent.
    void update();

    void close();

private:
    void read();
    void take(boost::beast::error_code error);
    void write(std::string message);

    // Without compression: the line between us is a loopback.
    boost::beast::websocket::stream<boost::beast::tcp_stream, false> socket_;
    Hub &hub_;
    boost::beast::flat_buffer buffer_;
    std::deque<std::string> replies_;
    std::string writing_;
    bool open_ = false;
    bool busy_ = false;
    bool reading_ = false;
    std::uint64_t state_number_ = 0;
    std::uint64_t frame_number_ = 0;
};

} // namespace sim::web
