#pragma once

#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace velk::scenarios {

/// What is wrong with a scenario, or went wrong in it: "FILE:LINE:COLUMN: what".
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a data point should be. At most one of the fields says so; none of them: it has no value.
struct Wanted {
    std::optional<qz::CValue> value;
    std::optional<qz::datatype> anyOf; ///< any value of this type
    bool absent{false};                ///< no such data point
};

/// A line that should come. "…" in its text stands for anything.
struct WantedLine {
    std::string text;
    bool anyTimes{false}; ///< at least once, and again and again
};

struct Step;
using Steps = std::vector<Step>;

// What a step does.

/// Runs a new manager; the members replace those of the scenario's "simulator".
struct Start {
    std::map<std::string, std::string> simulator; ///< JSON by name
};
/// A command to the simulated device, and the members that its answer should have.
struct Command {
    std::string json;
    std::map<std::string, std::string> answer; ///< JSON by name
};
/// A program writes a setting or an action into the store.
struct WriteStore {
    std::string path;
    qz::CValue value;
};
/// Lets so many pauses of the lifecycle pass.
struct Pauses {
    std::size_t count{1};
};
struct Hold {
    std::string state;
};
struct Release {};
struct Exit {};
struct Destroy {};
/// Time for what a thread does right after the last thing that can be seen of it.
struct Settle {};
/// Devices that somebody else has left in the store.
struct Leftover {
    std::string uuid;
    std::uint64_t parent{1};
    std::uint64_t wantedId{0};
    std::map<std::uint32_t, std::string> attributes;
    std::map<std::string, qz::CValue> channels; ///< by the store's full name
};
struct MoveStore {
    enum class Where { Away, Back, Replaced };
    Where where{Where::Away};
};
/// Writes a file of the scenario's folder, or copies one there.
struct PutFile {
    std::string name;
    std::string text;
    std::filesystem::path source; ///< empty: `text` is it
};
/// Lets the device's time run until so many of its values have been written into the store. Afterwards the
/// store's log of changes and its caches are as full as they ever get.
struct Churn {
    std::size_t writes{0};
};
/// Keeps all identifiers of the store under a name.
struct Remember {
    std::string name;
};
struct Repeat {
    std::size_t times{1};
    std::size_t warmUp{0};   ///< rounds before the memory is looked at
    double growthPercent{0}; ///< of the resident memory, at most; 0: not looked at
    Steps steps;
};

// What a step expects.

struct ExpectTransitions {
    std::vector<std::string> states;
};
struct ExpectLines {
    enum class Stream { Output, Errors };
    Stream stream{Stream::Output};
    std::vector<WantedLine> lines;
};
struct ExpectValue {
    std::string path;
    Wanted wanted;
};
/// The same of the device itself.
struct ExpectPoint {
    std::string path;
    Wanted wanted;
};
struct ExpectDevice {
    std::string key; ///< an identifier or a place
    bool absent{false};
    std::optional<std::uint64_t> id;
    std::optional<std::uint64_t> parent;
    std::optional<std::string> uuid;
    std::map<std::uint32_t, std::string> attributes;
};
/// Devices and channels are those that were remembered, with the same identifiers.
struct ExpectSame {
    std::string name;
};
/// The active alarms of a channel, the most critical first: "low:warning".
struct ExpectAlarms {
    std::string path;
    std::vector<std::string> alarms;
};
/// The triggers that a channel has, in order: "low:warning".
struct ExpectTriggers {
    std::string path;
    std::vector<std::string> triggers;
};
/// The run has ended, with or without a failure; "other" for one that is none of the standard library.
struct ExpectEnd {
    enum class How { Returned, Failed, FailedOddly };
    How how{How::Returned};
    std::string text;
};
struct ExpectService {
    std::uint32_t state{0};
};
struct WantedWrite {
    std::string path;
    std::string asked; ///< as printed
    bool accepted{true};
    std::string error;
};
struct ExpectWrites {
    std::vector<WantedWrite> writes;
};
/// The store holds what the device holds, every data point of it.
struct ExpectMirror {};

using Deed = std::variant<Start, Command, WriteStore, Pauses, Hold, Release, Exit, Destroy, Settle, Leftover,
                          MoveStore, PutFile, Churn, Remember, Repeat, ExpectTransitions, ExpectLines,
                          ExpectValue, ExpectPoint, ExpectDevice, ExpectSame, ExpectAlarms, ExpectTriggers,
                          ExpectEnd, ExpectService, ExpectWrites, ExpectMirror>;

struct Step {
    std::string where; ///< "FILE:LINE:COLUMN"
    std::string say;   ///< what it is for; may be empty
    Deed deed;
};

/// One life of the system, told by a file.
struct Scenario {
    std::string file;
    std::string about;
    std::string store{"memory"}; ///< or "sqlite"
    /// In the order in which they are loaded: "simulator", "scripted", or a name of `others`.
    std::vector<std::string> plugins{"simulator"};
    /// Further simulated devices: the section of each, by the name of the plug-in's copy.
    std::map<std::string, std::string> others;
    std::map<std::string, std::string> simulator; ///< members of the section of that name, JSON by name
    Steps steps;
};

} // namespace velk::scenarios
