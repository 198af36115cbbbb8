#include "tests/web/web_client.h"

#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/field.hpp>

#include <chrono>
#include <stdexcept>

namespace {

using boost::asio::ip::tcp;
namespace websocket = boost::beast::websocket;

constexpr std::chrono::seconds patience{5};

tcp::endpoint loopback(std::uint16_t port) {
    return {boost::asio::ip::address_v4::loopback(), port};
}

} // namespace

std::string ask_server(std::uint16_t port, const std::string &request) {
    boost::asio::io_context io;
    tcp::socket socket(io);
    socket.connect(loopback(port));
    boost::system::error_code error;
    boost::asio::write(socket, boost::asio::buffer(request), error);
    std::string answer;
    boost::asio::read(socket, boost::asio::dynamic_buffer(answer), error);
    return answer;
}

WebClient::WebClient(std::uint16_t port, const std::string &host, const std::string &origin)
    : socket_(io_) {
    boost::beast::get_lowest_layer(socket_).connect(loopback(port));
    socket_.set_option(
        websocket::stream_base::decorator([origin](websocket::request_type &request) {
            if (!origin.empty())
                request.set(boost::beast::http::field::origin, origin);
        }));
    socket_.handshake(host, "/live");
}

void WebClient::send(const std::string &message) {
    socket_.write(boost::asio::buffer(message));
}

nlohmann::json WebClient::read() {
    boost::system::error_code result = boost::asio::error::would_block;
    boost::beast::get_lowest_layer(socket_).expires_after(patience);
    socket_.async_read(buffer_,
                       [&result](boost::system::error_code error, std::size_t) { result = error; });
    io_.restart();
    io_.run();
    if (result == boost::beast::error::timeout)
        throw std::runtime_error("no message came in time");
    if (result)
        throw boost::system::system_error(result);
    const std::string text = boost::beast::buffers_to_string(buffer_.data());
    buffer_.consume(buffer_.size());
    return nlohmann::json::parse(text);
}

nlohmann::json WebClient::wait_for(const std::string &type,
                                   const std::function<bool(const nlohmann::json &)> &test) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end) {
        const nlohmann::json message = read();
        if (message.at("type") == type && test(message))
            return message;
    }
    throw std::runtime_error("no message of type " + type + " came in time");
}
