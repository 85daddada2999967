#include "HandlerFixture.h"
#include "powerdistribution/handlers/ComStateHandler.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"
#include "testing/FakeConnector.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;

constexpr int ROUNDS = 200;

/// Long enough for another thread to come by, and often enough over all rounds. On a busy machine one turn of
/// the others is long enough, and many would take minutes.
void giveOthersTheirTurn() {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::microseconds{200};
    do {
        std::this_thread::yield();
    } while (std::chrono::steady_clock::now() < latest);
}

/// What only one thread may enter at a time.
class OneAtATime {
public:
    /// One stay inside.
    class Visit {
    public:
        explicit Visit(OneAtATime& place) : visited{place} {
            if (visited.inside.exchange(true)) {
                visited.met = true;
            }
            giveOthersTheirTurn();
        }
        ~Visit() { visited.inside = false; }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        OneAtATime& visited;
    };

    /// Whether two have met inside.
    bool overlap() const { return met; }

private:
    std::atomic<bool> inside{false};
    std::atomic<bool> met{false};
};

/// A device in which only one thread may be.
class OneAtATimeWrapper : public protocols::IValueWrapper {
public:
    explicit OneAtATimeWrapper(OneAtATime& shared) : place{shared} {}
    bool isReadable() const override { return true; }
    bool isWritable() const override { return true; }
    Value read() const override {
        const OneAtATime::Visit visit{place};
        return Value{++count};
    }
    bool write(const Value&) override {
        const OneAtATime::Visit visit{place};
        return true;
    }
    protocols::DataConfig dataConfig() const override { return {}; }

private:
    OneAtATime& place;
    mutable std::uint32_t count{0};
};

/// A store in which only one thread of a handler may be.
class OneAtATimeConnector : public FakeConnector {
public:
    explicit OneAtATimeConnector(OneAtATime& shared) : place{shared} {}
    void init() override {
        const OneAtATime::Visit visit{place};
        FakeConnector::init();
    }
    void load(HandlerData& data) const override {
        const OneAtATime::Visit visit{place};
        FakeConnector::load(data);
    }
    void terminate() override {
        const OneAtATime::Visit visit{place};
        FakeConnector::terminate();
    }

private:
    OneAtATime& place;
};

/// A device that stays in `write` until it is let go.
class StuckWrapper : public protocols::IValueWrapper {
public:
    StuckWrapper(std::promise<void>& whenEntered, std::shared_future<void> letGo) :
        entered{whenEntered}, release{std::move(letGo)} {}
    bool isReadable() const override { return true; }
    bool isWritable() const override { return true; }
    Value read() const override { return {}; }
    bool write(const Value&) override {
        entered.set_value();
        release.wait();
        return true;
    }
    protocols::DataConfig dataConfig() const override { return {}; }

private:
    std::promise<void>& entered;
    std::shared_future<void> release;
};

/// A connector that, while it dies, waits for a call of its listener that is running.
class WaitingConnector : public FakeConnector {
public:
    using FakeConnector::FakeConnector;
    ~WaitingConnector() override { FakeConnector::unsubscribe(subscribed, subscriber); }
    void subscribe(const HandlerData& data, IConnectorListener* listener,
                   const SubscriptionOptions& options) override {
        subscribed = data;
        subscriber = listener;
        FakeConnector::subscribe(data, listener, options);
    }

private:
    HandlerData subscribed;
    IConnectorListener* subscriber{nullptr};
};

/// Gives `WaitingConnector`s to alarms.
class WaitingAlarmsFactory : public testing::FakeConnectorFactory {
public:
    explicit WaitingAlarmsFactory(std::shared_ptr<testing::CallLog> shared) :
        FakeConnectorFactory{shared}, sharedLog{std::move(shared)} {}
    ConnectorPtr buildAlarmConnector(const Uuid&) const override {
        auto made = std::make_shared<WaitingConnector>("alarm", sharedLog);
        alarm = made.get();
        return made;
    }

    mutable FakeConnector* alarm{nullptr}; ///< the last one; owned by its handler alone

private:
    const std::shared_ptr<testing::CallLog> sharedLog;
};

/// Runs the two over and over at the same time.
template <typename A, typename B>
void runTogether(A a, B b) {
    std::atomic<bool> begun{false};
    std::thread other{[&] {
        begun = true;
        for (int i = 0; i < ROUNDS; ++i) {
            b();
        }
    }};
    while (!begun) {
        std::this_thread::yield();
    }
    for (int i = 0; i < ROUNDS; ++i) {
        a();
    }
    other.join();
}

TEST(HandlerThreadsTest, APollAndAStoreEventOfASettingNeverMeetInTheDevice) {
    OneAtATime place;
    const EPath path{ESetting::NominalVoltage};
    const auto connector = std::make_shared<FakeConnector>();
    RWValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(place), connector, false};
    runTogether([&] { handler.refresh(); }, [&] { connector->notify(path, Value{std::string{"x"}}); });
    EXPECT_FALSE(place.overlap());
}

TEST(HandlerThreadsTest, ASecondInitializeMeetsARefresh) {
    OneAtATime place;
    const EPath path{EStatus::Mode};
    const auto connector = std::make_shared<OneAtATimeConnector>(place);
    ROValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(place), connector};
    runTogether([&] { handler.initialize(); }, [&] { handler.refresh(); });
    runTogether([&] { handler.terminate(); }, [&] { handler.refresh(); });
    EXPECT_FALSE(place.overlap());
    EXPECT_EQ(connector->calls().count("init"), static_cast<std::size_t>(ROUNDS));
}

TEST(HandlerThreadsTest, AnActionMeetsASecondInitialize) {
    OneAtATime place;
    const EPath path{EAction::StartTest};
    const auto connector = std::make_shared<OneAtATimeConnector>(place);
    WOValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(place), connector, true, false};
    runTogether([&] { handler.initialize(); }, [&] { connector->notify(path, Value{true}); });
    EXPECT_FALSE(place.overlap());
}

TEST(HandlerThreadsTest, TheDestructorOfASettingWaitsForARunningStoreEvent) {
    std::promise<void> entered;
    std::promise<void> letGo;
    const EPath path{ESetting::NominalVoltage};
    const auto connector = std::make_shared<FakeConnector>();
    auto handler = std::make_unique<RWValueHandler>(
        path, std::make_unique<StuckWrapper>(entered, letGo.get_future().share()), connector, false);
    std::thread storeThread{[&] { connector->notify(path, Value{1.0f}); }};
    entered.get_future().wait();

    std::atomic<bool> gone{false};
    std::thread owner{[&] {
        handler.reset();
        gone = true;
    }};
    while (connector->calls().count("unsubscribe Setting.NominalVoltage") == 0) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(gone) << "the event is still in the device";
    letGo.set_value();
    storeThread.join();
    owner.join();
    EXPECT_TRUE(gone);
}

class TreeThreadsTest : public testing::HandlerFixture {};

TEST_F(TreeThreadsTest, CommunicationStateIsRefreshedByAWorkerAndByTheLifecycleAtOnce) {
    /// Notices when it is told by two at once.
    class OnceObserver : public IHandlerObserver {
    public:
        void onValueChanged(const Value&) override {
            overlap = inside.exchange(true) || overlap;
            giveOthersTheirTurn();
            inside = false;
            ++count;
        }
        std::atomic<bool> inside{false};
        std::atomic<bool> overlap{false};
        std::atomic<int> count{0};
    };

    testing::FakePoint& state = device.add({ECommunicationStatus::State}, Value{2u});
    const auto com = make<ComStateHandler>({});
    OnceObserver observer;
    com->registerObserver(observer);
    std::uint32_t next = 0;
    runTogether(
        [&] {
            state.setValue(Value{2u + next++ % 2});
            com->refresh();
        },
        [&] { com->refresh(); });
    EXPECT_FALSE(observer.overlap);
    EXPECT_GT(observer.count, 0);
}

TEST_F(TreeThreadsTest, HealthIsRefreshedByAWorkerAndToldByTheStoreAtOnce) {
    const EPath point{EStatus::HealthState};
    const auto health = make<HealthStateHandler>({});
    const auto alarm = store.connector("alarm(root)");
    alarm->setLoad(point, Value{3u});
    runTogether([&] { health->refresh(); }, [&] { alarm->notify(point, Value{4u}); });
    health->refresh();
    EXPECT_EQ(store.connector("status(root)")->lastStored(point), Value{10u});
}

TEST_F(TreeThreadsTest, TheDestructorOfAHealthWaitsForARunningStoreEventThatStillHasItsData) {
    const auto log = std::make_shared<testing::CallLog>();
    const WaitingAlarmsFactory alarms{log};
    auto health = std::make_unique<HealthStateHandler>(EPath{}, parent, Factories{device, alarms, &model});
    std::promise<void> entered;
    std::promise<void> letGo;
    alarms.connector("status(root)")->onStore([&](const HandlerData& data) {
        entered.set_value();
        letGo.get_future().wait();
        std::ostringstream text;
        text << "storing " << data.path.nodesToString() << '=' << data.value;
        log->add(text.str());
    });
    std::thread storeThread{[&] { alarms.alarm->notify({EStatus::HealthState}, Value{4u}); }};
    entered.get_future().wait();
    log->clear();

    std::thread owner{[&] { health.reset(); }};
    while (log->count("alarm.unsubscribe Status.HealthState") == 0) {
        std::this_thread::yield();
    }
    letGo.set_value();
    storeThread.join();
    owner.join();
    EXPECT_EQ(log->calls(), (std::vector<std::string>{"alarm.unsubscribe Status.HealthState",
                                                      "storing Status.HealthState=25",
                                                      "status(root).store Status.HealthState=25",
                                                      "alarm.destroyed", "status(root).destroyed"}));
}

} // namespace
} // namespace velk::powerdistribution::handlers
