#pragma once

// The loop that runs the device, for those who only hand it on.
namespace boost::asio {
class io_context;
}
