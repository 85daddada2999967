#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace velk::cli {

/// For its life, lets nothing reach a stream that would move the cursor or paint the terminal, whatever a
/// device, an alarm file or another program has put into the store: control characters come out as question
/// marks. Lines and tabs pass, and where a person looks the colours of `Style`, character for character.
/// Threads: as the stream.
class SafeOutput : private std::streambuf {
public:
    /// `colours`: whether what is printed has colours.
    SafeOutput(std::ostream& guarded, bool colours);
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
    const bool coloured;
    std::string held;  ///< what may become a sequence of a colour, or a control character of two bytes
    std::string ready; ///< to be passed on
};

} // namespace velk::cli
