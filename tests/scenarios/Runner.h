#pragma once

#include "testing/TemporaryDirectory.h"
#include "tests/scenarios/Life.h"
#include "tests/scenarios/Mirror.h"
#include "tests/scenarios/Scenario.h"
#include "tests/scenarios/ScenarioReader.h"
#include "tests/scenarios/SimulatorClient.h"
#include "tests/scenarios/StoreEye.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velk::scenarios {

/// Plays one scenario in a fresh folder and a fresh store: the real library, the real store, the simulated
/// device. Whatever is not as expected throws `ScenarioError` with the step's place.
///
/// Threads: one; one runner of a process at a time, since it takes the standard streams.
class Runner {
public:
    /// `$FOLDER` is the runner's folder, `$SCENARIOS` that of the scenarios, beside `variant`.
    Runner(const std::filesystem::path& file, const Variables& variant);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// After the last step nothing may have been printed that no step has expected.
    void play();

    /// What was measured, one line each.
    const std::vector<std::string>& figures() const { return measured; }

private:
    using Condition = std::function<bool()>;
    using Describe = std::function<std::string()>;

    void play(const Steps& steps);
    void expectNothingElse();
    [[noreturn]] void fail(const std::string& reason);
    /// Blocks until the condition has come true; fails with `describe` when that takes too long.
    void await(const Condition& condition, const Describe& describe);

    void perform(const Start& start);
    void perform(const Command& command);
    void perform(const WriteStore& write);
    void perform(const Pauses& pauses);
    void perform(const Hold& hold);
    void perform(const Release&);
    void perform(const Exit&);
    void perform(const Destroy&);
    void perform(const Settle&);
    void perform(const Leftover& leftover);
    void perform(const MoveStore& move);
    void perform(const PutFile& file);
    void perform(const Churn& churn);
    void perform(const Remember& remember);
    void perform(const Repeat& repeat);
    void perform(const ExpectTransitions& expected);
    void perform(const ExpectLines& expected);
    void perform(const ExpectValue& expected);
    void perform(const ExpectPoint& expected);
    void perform(const ExpectDevice& expected);
    void perform(const ExpectSame& expected);
    void perform(const ExpectAlarms& expected);
    void perform(const ExpectTriggers& expected);
    void perform(const ExpectEnd& expected);
    void perform(const ExpectService& expected);
    void perform(const ExpectWrites& expected);
    void perform(const ExpectMirror&);

    std::string configuration(const Start& start) const;
    std::string fileOf(const std::string& plugin) const;
    void pretendDevice();
    std::string awaitTransition();
    /// The next line of a stream but for those that may come any time; "" when there is none.
    std::string nextLine(ExpectLines::Stream stream);
    void expectLine(ExpectLines::Stream stream, const WantedLine& wanted);
    /// Each identifier of the store by what it belongs to.
    static std::map<std::string, std::uint64_t> identifiers(const StorePicture& store);

    velk::testing::TemporaryDirectory folder;
    Scenario scenario;
    std::string storeUrl;
    StoreEye eye;
    SimulatorClient simulator;
    void* scriptedPlugin{nullptr};
    Life life;
    const Step* current{nullptr};
    std::string state{"BEGIN"}; ///< the last transition led there
    std::map<ExpectLines::Stream, std::vector<std::string>> tolerated;
    std::map<std::string, std::map<std::string, std::uint64_t>> remembered;
    std::vector<std::string> measured;
};

} // namespace velk::scenarios
