#pragma once

#include "sim/web/access.h"
#include "sim/web/hub.h"
#include "sim/web/watcher.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <functional>
#include <memory>
#include <optional>

namespace sim::web {

// A connection that asks for the files of the page, until it becomes a watcher or ends. Belongs to
// the server's thread.
class PageConnection : public std::enable_shared_from_this<PageConnection> {
public:
    using Upgrade = std::function<void(boost::beast::tcp_stream, const Watcher::Request &)>;

    PageConnection(boost::asio::ip::tcp::socket socket, const Access &access, Hub &hub,
                   Upgrade upgrade)
        : stream_(std::move(socket)), access_(access), hub_(hub), upgrade_(std::move(upgrade)) {}

    void read();
    void close();

private:
    using Response = boost::beast::http::response<boost::beast::http::string_body>;

    void take();
    Response answer(const Watcher::Request &request) const;
    Response file(const Watcher::Request &request) const;
    void write(Response response);

    boost::beast::tcp_stream stream_;
    const Access &access_;
    Hub &hub_;
    Upgrade upgrade_;
    boost::beast::flat_buffer buffer_;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
};

} // namespace sim::web
