#include "sim/web/server.h"

#include "sim/web/access.h"
#include "sim/web/hub.h"
#include "sim/web/page_connection.h"
#include "sim/web/watcher.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace sim::web {

namespace {

using boost::asio::ip::tcp;

constexpr std::chrono::milliseconds shortest_pause{33};

template <typename Connection>
void drop_gone(std::vector<std::weak_ptr<Connection>> &connections) {
    connections.erase(std::remove_if(connections.begin(), connections.end(),
                                     [](const auto &connection) { return connection.expired(); }),
                      connections.end());
}

} // namespace

class Server::Impl {
public:
    Impl(Station &station, Feed &feed, const ServerOptions &options)
        : options_(options), feed_(feed), acceptor_(listen(io_, options)),
          access_(options.address, acceptor_.local_endpoint().port()), hub_(station, feed),
          timer_(io_) {
        hub_.refresh();
        feed_.set_waker([this] { wake(); });
        accept();
        thread_ = std::thread([this] { io_.run(); });
    }

    ~Impl() {
        feed_.set_waker({});
        io_.stop();
        thread_.join();
    }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    tcp::endpoint endpoint() const { return endpoint_; }

private:
    static tcp::endpoint endpoint_of(const ServerOptions &options) {
        boost::system::error_code error;
        const auto address = boost::asio::ip::make_address(options.address, error);
        if (error) {
            throw std::runtime_error("'" + options.address + "' is not an address");
        }
        return {address, options.port};
    }

    static tcp::acceptor listen(boost::asio::io_context &io, const ServerOptions &options) {
        try {
            return tcp::acceptor(io, endpoint_of(options));
        } catch (const boost::system::system_error &error) {
            throw std::runtime_error("cannot listen on " + options.address + " port " +
                                     std::to_string(options.port) + ": " + error.code().message());
        }
    }

    // Also called on the device's thread. Posts no second update while one is waiting.
    void wake() {
        if (!woken_.exchange(true)) {
            boost::asio::post(io_, [this] { plan_update(); });
        }
    }

    void plan_update() {
        const auto next = last_update_ + shortest_pause;
        if (Clock::now() >= next) {
            update();
            return;
        }
        timer_.expires_at(next);
        timer_.async_wait([this](boost::system::error_code error) {
            if (!error) {
                update();
            }
        });
    }

    void update() {
        last_update_ = Clock::now();
        woken_ = false;
        hub_.refresh();
        for (const auto &known : watchers_) {
            if (const auto watcher = known.lock()) {
                watcher->update();
            }
        }
    }

    void accept() {
        acceptor_.async_accept([this](boost::system::error_code error, tcp::socket socket) {
            if (!error) {
                welcome(std::move(socket));
            }
            accept();
        });
    }

    void welcome(tcp::socket socket) {
        drop_gone(page_connections_);
        drop_gone(watchers_);
        if (page_connections_.size() + watchers_.size() >= options_.max_connections) {
            return;
        }
        boost::system::error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        const auto connection = std::make_shared<PageConnection>(
            std::move(socket), access_, hub_,
            [this](boost::beast::tcp_stream stream, const Watcher::Request &request) {
                watch(std::move(stream), request);
            });
        page_connections_.push_back(connection);
        connection->read();
    }

    void watch(boost::beast::tcp_stream stream, const Watcher::Request &request) {
        const auto watcher = std::make_shared<Watcher>(std::move(stream), hub_);
        watchers_.push_back(watcher);
        watcher->accept(request, [known = std::weak_ptr(watcher)] {
            if (const auto opened = known.lock()) {
                opened->update();
            }
        });
    }

    const ServerOptions options_;
    Feed &feed_;
    boost::asio::io_context io_{1};
    tcp::acceptor acceptor_;
    const tcp::endpoint endpoint_ = acceptor_.local_endpoint();
    Access access_;
    Hub hub_;
    boost::asio::steady_timer timer_;
    Clock::time_point last_update_{};
    std::atomic<bool> woken_{false};
    std::vector<std::weak_ptr<PageConnection>> page_connections_;
    std::vector<std::weak_ptr<Watcher>> watchers_;
    std::thread thread_;
};

Server::Server(Station &station, Feed &feed, const ServerOptions &options)
    : impl_(std::make_unique<Impl>(station, feed, options)) {}

Server::~Server() = default;

std::uint16_t Server::port() const {
    return impl_->endpoint().port();
}

std::string Server::url() const {
    const auto address = impl_->endpoint().address();
    const std::string name =
        address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
    return "http://" + (address.is_unspecified() ? std::string("localhost") : name) + ":" +
           std::to_string(port()) + "/";
}

bool Server::local() const {
    return impl_->endpoint().address().is_loopback();
}

} // namespace sim::web
