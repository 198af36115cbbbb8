#pragma once

namespace cli {

enum class InputReady { Yes, Interrupted };

/// Waits until the descriptor has something to read or Ctrl-C comes.
InputReady waitForInput(int fd);

} // namespace cli
