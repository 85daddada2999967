#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace velk::cli {

/// For its life, lets nothing reach a stream that would move the cursor or paint the terminal, whatever a
/// device, an alarm file or another program has put into the store: control characters come out as question
/// marks. Lines and tabs pass, and where a person looks the colours of `Style`, character for character.
///
/// To a file or another program U+007F to U+009F pass too: JSON has them as they are, and what is exported is
/// to be imported again as it was.
/// Threads: as the stream.
class SafeOutput : private std::streambuf {
public:
    /// `toTerminal`: whether the stream ends at one; `colours`: whether what is printed has colours.
    SafeOutput(std::ostream& guarded, bool toTerminal, bool colours);
    ~SafeOutput() override; ///< passes the rest on and gives the stream its buffer back
    SafeOutput(const SafeOutput&) = delete;
    SafeOutput& operator=(const SafeOutput&) = delete;

private:
    int_type overflow(int_type letter) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

    void take(char letter);
    void takeHeld(char letter);
    void releaseHeld();
    bool pass();

    std::ostream& stream;
    std::streambuf* const behind;
    const bool terminal;
    const bool coloured;
    std::string held;  ///< what may become a sequence of a colour, or a control character of two bytes
    std::string ready; ///< to be passed on
};

} // namespace velk::cli
