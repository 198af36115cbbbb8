#include "sim/web/page_connection.h"

#include "sim/text.h"
#include "sim/web/assets.h"
#include "sim/web/state_view.h"

#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <chrono>
#include <utility>

namespace sim::web {

namespace {

namespace http = boost::beast::http;
using boost::beast::error_code;

constexpr std::chrono::seconds patience{20};
constexpr std::uint32_t header_limit = 8 * 1024;
constexpr std::uint64_t body_limit = 1024;

std::string_view view(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

http::response<http::string_body> make_answer(const Watcher::Request &request, http::status status,
                                              std::string_view type, std::string_view body) {
    http::response<http::string_body> response{status, request.version()};
    response.set(http::field::content_type, boost::beast::string_view(type.data(), type.size()));
    response.set(http::field::cache_control, "no-store");
    response.set("Content-Security-Policy",
                 "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                 "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    response.keep_alive(request.keep_alive());
    if (request.method() == http::verb::head) {
        response.content_length(body.size());
    } else {
        response.body() = std::string(body);
    }
    if (request.method() != http::verb::head) {
        response.prepare_payload();
    }
    return response;
}

http::response<http::string_body> make_refusal(const Watcher::Request &request, http::status status,
                                               std::string_view why) {
    auto response = make_answer(request, status, "text/plain; charset=utf-8", why);
    response.keep_alive(false);
    return response;
}

} // namespace

void PageConnection::read() {
    parser_.emplace();
    parser_->header_limit(header_limit);
    parser_->body_limit(body_limit);
    stream_.expires_after(patience);
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](error_code error, std::size_t) {
                         if (error) {
                             self->close();
                         } else {
                             self->take();
                         }
                     });
}

void PageConnection::take() {
    const Watcher::Request request = parser_->release();
    if (!access_.host_allowed(view(request[http::field::host]))) {
        write(make_refusal(request, http::status::forbidden,
                           "This server does not go by that name.\n"));
        return;
    }
    const auto origin = request.find(http::field::origin);
    const bool asked_elsewhere =
        origin != request.end() &&
        !Access::origin_allowed(view(origin->value()), view(request[http::field::host]));
    const bool upgrade = boost::beast::websocket::is_upgrade(request);
    if (asked_elsewhere || (upgrade && origin == request.end())) {
        write(make_refusal(request, http::status::forbidden,
                           "Only the page of this server may ask for that.\n"));
        return;
    }
    if (upgrade && request.target() == "/live") {
        upgrade_(std::move(stream_), request);
    } else {
        write(answer(request));
    }
}

PageConnection::Response PageConnection::answer(const Watcher::Request &request) const {
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
        return make_refusal(request, http::status::method_not_allowed, "Only GET and HEAD.\n");
    }
    return file(request);
}

PageConnection::Response PageConnection::file(const Watcher::Request &request) const {
    const std::string path(view(request.target()));
    if (const Asset *asset = find_asset(path)) {
        return make_answer(request, http::status::ok, asset->type, asset->content);
    }
    const Snapshot state = hub_.station().device()->snapshot();
    if (const MediaFile *media = find_media_of_path(state, path)) {
        return make_answer(request, http::status::ok, media_type_of(*media),
                           to_text(media->content));
    }
    return make_answer(request, http::status::not_found, "text/plain; charset=utf-8",
                       "There is nothing here.\n");
}

void PageConnection::write(Response response) {
    auto kept = std::make_shared<Response>(std::move(response));
    http::async_write(stream_, *kept,
                      [self = shared_from_this(), kept](error_code error, std::size_t) {
                          if (error || !kept->keep_alive()) {
                              self->close();
                          } else {
                              self->read();
                          }
                      });
}

void PageConnection::close() {
    error_code ignored;
    stream_.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    stream_.close();
}

} // namespace sim::web
