#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <string>

// Sends a request as it is and returns all that comes until the server hangs up.
std::string ask_server(std::uint16_t port, const std::string &request);

// A page without a browser.
class WebClient {
public:
    // The headers that tell where the page came from; throws boost::system::system_error when the
    // server does not want it.
    WebClient(std::uint16_t port, const std::string &host, const std::string &origin);

    void send(const std::string &message);
    // Reads on until a message of this type for which the test holds. Throws std::runtime_error
    // when none comes in time, boost::system::system_error when the server hangs up.
    nlohmann::json wait_for(
        const std::string &type, const std::function<bool(const nlohmann::json &)> &test =
                                     [](const nlohmann::json &) { return true; });

private:
    nlohmann::json read();

    boost::asio::io_context io_;
    boost::beast::websocket::stream<boost::beast::tcp_stream> socket_;
    boost::beast::flat_buffer buffer_;
};
