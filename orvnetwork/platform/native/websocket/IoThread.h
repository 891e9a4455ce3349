#pragma once

namespace boost::asio {
class io_context;
}

namespace orv {

/// The event loop that all network work runs on. Its one thread starts with the first call and lives until the
/// process ends; neither is ever destroyed. Throws std::system_error when there
/// is no thread or descriptor to be had, and tries again with the next call. Any thread.
boost::asio::io_context& ioContext();

}  // namespace orv
