#include "sim/web/watcher.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <utility>

namespace sim::web {

namespace {

namespace websocket = boost::beast::websocket;
using boost::beast::error_code;

// Nothing is read from a browser for which so many replies are waiting.
constexpr std::size_t most_replies = 16;

} // namespace

void Watcher::accept(const Request &request, const std::function<void()> &opened) {
    boost::beast::get_lowest_layer(socket_).expires_never();
    socket_.set_option(websocket::stream_base::timeout::suggested(boost::beast::role_type::server));
    socket_.read_message_max(max_message);
    socket_.text(true);
    socket_.auto_fragment(false);
    socket_.async_accept(request, [self = shared_from_this(), opened](error_code error) {
        if (error) {
            return;
        }
        self->open_ = true;
        opened();
        self->read();
    });
}

void Watcher::read() {
    if (!open_ || reading_ || replies_.size() >= most_replies) {
        return;
    }
    reading_ = true;
    socket_.async_read(
        buffer_, [self = shared_from_this()](error_code error, std::size_t) { self->take(error); });
}

void Watcher::take(error_code error) {
    reading_ = false;
    if (error) {
        open_ = false;
        return;
    }
    const std::string text = boost::beast::buffers_to_string(buffer_.data());
    buffer_.consume(buffer_.size());
    if (auto reply = hub_.obey(text)) {
        replies_.push_back(std::move(*reply));
    }
    update();
    read();
}

void Watcher::update() {
    if (!open_ || busy_) {
        return;
    }
    if (!replies_.empty()) {
        std::string reply = std::move(replies_.front());
        replies_.pop_front();
        write(std::move(reply));
    } else if (state_number_ != hub_.state_number()) {
        state_number_ = hub_.state_number();
        write(hub_.state());
    } else if (auto frames = hub_.frames_after(frame_number_)) {
        write(std::move(*frames));
    }
}

void Watcher::write(std::string message) {
    busy_ = true;
    writing_ = std::move(message);
    socket_.async_write(boost::asio::buffer(writing_),
                        [self = shared_from_this()](error_code error, std::size_t) {
                            self->busy_ = false;
                            if (error) {
                                self->open_ = false;
                            }
                            self->update();
                            self->read();
                        });
}

void Watcher::close() {
    open_ = false;
    boost::beast::get_lowest_layer(socket_).close();
}

} // namespace sim::web
