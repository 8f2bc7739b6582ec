#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace mv::platform {

/// The terminal that the program was started on: what it shows goes to standard output, what its user types comes from
/// standard input. A seam, so that what is shown and asked is tested without a terminal.
///
/// While an object lives, Ctrl-C, Ctrl-Z and the system's request to go interrupt nothing: they are told by Next. When
/// it goes, the terminal is as it was before. To be made before other threads are, and by one place only.
class Terminal {
 public:
  enum class Input {
    Keys,   ///< each key is told at once, and not shown; so at first
    Lines,  ///< the system shows what is typed, lets it be corrected, and tells it with the Enter key
  };
  enum class Charset { Ascii, Latin1, Utf8 };
  enum class Event {
    None,     ///< the time was up
    Typed,    ///< `bytes` has what
    Resized,  ///< Columns may have changed
    Resumed,  ///< after a stop; the terminal may show something else
    Closed,   ///< Ctrl-C, the system's request to go, or there will be no more input, or nobody reads the output
  };
  struct Told {
    Event event = Event::None;
    std::string bytes;
  };

  virtual ~Terminal() = default;

  /// True when control sequences may be written; false for a pipe, a file, and a terminal that knows none.
  virtual bool CanDraw() const = 0;
  /// False also when the user wants no colours.
  virtual bool HasColours() const = 0;
  virtual Charset OutputCharset() const = 0;
  /// Characters in a line; 0 when that is not known.
  virtual std::size_t Columns() const = 0;
  virtual void SetInput(Input input) = 0;
  /// What comes next; waits no longer than `limit`. A stop by Ctrl-Z takes place in here.
  virtual Told Next(std::chrono::milliseconds limit) = 0;
  /// In the terminal's charset.
  virtual void Write(std::string_view bytes) = 0;
  /// Hands the terminal to the user's program for reading texts and waits for its end. False when there is none.
  virtual bool Page(std::string_view bytes) = 0;
};

/// Null when standard input is no terminal, and on systems where the program has none.
std::unique_ptr<Terminal> MakeTerminal();

}  // namespace mv::platform
