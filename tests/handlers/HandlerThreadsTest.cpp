#include "HandlerFixture.h"
#include "powerdistribution/handlers/ComStateHandler.h"
#include "powerdistribution/handlers/HealthStateHandler.h"
#include "powerdistribution/handlers/RWValueHandler.h"
#include "powerdistribution/handlers/WOValueHandler.h"
#include "testing/FakeConnector.h"

#include <atomic>
#include <future>
#include <thread>

namespace velk::powerdistribution::handlers {
namespace {

using testing::FakeConnector;

constexpr int ROUNDS = 200;

/// A device that notices when it is called by two at once.
class OneAtATimeWrapper : public protocols::IValueWrapper {
public:
    explicit OneAtATimeWrapper(std::atomic<bool>& flag) : overlap{flag} {}
    bool isReadable() const override { return true; }
    bool isWritable() const override { return true; }
    Value read() const override {
        const Visit visit{*this};
        return Value{++count};
    }
    bool write(const Value&) override {
        const Visit visit{*this};
        return true;
    }
    protocols::DataConfig dataConfig() const override { return {}; }

private:
    struct Visit {
        explicit Visit(const OneAtATimeWrapper& visited) : wrapper{visited} {
            if (wrapper.inside.exchange(true)) {
                wrapper.overlap = true;
            }
            std::this_thread::yield();
        }
        ~Visit() { wrapper.inside = false; }
        const OneAtATimeWrapper& wrapper;
    };

    std::atomic<bool>& overlap;
    mutable std::atomic<bool> inside{false};
    mutable std::uint32_t count{0};
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

/// Runs the two over and over at the same time.
template <typename A, typename B>
void runTogether(A a, B b) {
    std::thread other{[&b] {
        for (int i = 0; i < ROUNDS; ++i) {
            b();
        }
    }};
    for (int i = 0; i < ROUNDS; ++i) {
        a();
    }
    other.join();
}

TEST(HandlerThreadsTest, APollAndAStoreEventOfASettingNeverMeetInTheDevice) {
    std::atomic<bool> overlap{false};
    const EPath path{ESetting::NominalVoltage};
    const auto connector = std::make_shared<FakeConnector>();
    RWValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(overlap), connector, false};
    runTogether([&] { handler.refresh(); }, [&] { connector->notify(path, Value{std::string{"x"}}); });
    EXPECT_FALSE(overlap);
}

TEST(HandlerThreadsTest, ASecondInitializeMeetsARefresh) {
    std::atomic<bool> overlap{false};
    const EPath path{EStatus::Mode};
    const auto connector = std::make_shared<FakeConnector>();
    ROValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(overlap), connector};
    runTogether([&] { handler.initialize(); }, [&] { handler.refresh(); });
    runTogether([&] { handler.terminate(); }, [&] { handler.refresh(); });
    EXPECT_FALSE(overlap);
    EXPECT_EQ(connector->calls().count("init"), static_cast<std::size_t>(ROUNDS));
}

TEST(HandlerThreadsTest, AnActionMeetsASecondInitialize) {
    std::atomic<bool> overlap{false};
    const EPath path{EAction::StartTest};
    const auto connector = std::make_shared<FakeConnector>();
    WOValueHandler handler{path, std::make_unique<OneAtATimeWrapper>(overlap), connector, true, false};
    runTogether([&] { handler.initialize(); }, [&] { connector->notify(path, Value{true}); });
    EXPECT_FALSE(overlap);
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
            overlap = overlap || inside.exchange(true);
            std::this_thread::yield();
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

} // namespace
} // namespace velk::powerdistribution::handlers
