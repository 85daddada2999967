#include "platform/common/AddressLookup.h"

#include "platform/common/Mutex.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <map>
#include <netdb.h>
#include <optional>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <utility>

namespace velk::common {

/// One question to the resolver and its answer. Threads: any.
class AddressLookup::Question {
public:
    Question(std::string hostName, std::uint16_t portNumber) :
        host{std::move(hostName)}, port{std::to_string(portNumber)} {}
    ~Question() {
        if (found != nullptr) {
            freeaddrinfo(found);
        }
    }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    /// Asks, however long that takes, unless `flags` keep the resolver out of it.
    void ask(int flags = 0) VELK_EXCLUDES(mutex) {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV | flags;
        addrinfo* list = nullptr;
        const int answer = getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
        const MutexLock lock{mutex};
        result = answer;
        found = answer == 0 ? list : nullptr;
        answered.notify_all();
    }

    /// 0 or what getaddrinfo says otherwise; nothing when it says nothing within the time.
    std::optional<int> await(Clock::Duration timeout) VELK_EXCLUDES(mutex) {
        Clock& clock = Clock::system();
        const auto limit = clock.now() + std::max(timeout, Clock::Duration::zero());
        MutexLock lock{mutex};
        for (auto now = clock.now(); !result && now < limit; now = clock.now()) {
            clock.waitFor(answered, lock, limit - now);
        }
        return result;
    }

    const addrinfo* list() VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        return found;
    }

    const std::string host;
    const std::string port;

private:
    Mutex mutex;
    std::condition_variable_any answered;
    std::optional<int> result VELK_GUARDED_BY(mutex);
    addrinfo* found VELK_GUARDED_BY(mutex){nullptr};
};

/// What the resolver looks for at present, each with a thread of its own: the resolver cannot be interrupted,
/// and its threads end when it answers. Threads: any.
class AddressLookup::Desk {
public:
    static Desk& ofProcess() {
        // Never destroyed: the resolver does not end with the program's objects.
        static auto& desk = *new Desk; // NOLINT(cppcoreguidelines-owning-memory)
        return desk;
    }

    /// The question that asks the same and is not answered yet, else this one, which is asked from now on.
    /// Throws std::system_error when there is no thread for it.
    QuestionPtr put(const QuestionPtr& question) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        const auto [place, isNew] = open.emplace(std::pair{question->host, question->port}, question);
        if (isNew) {
            try {
                begin(question);
            } catch (...) {
                open.erase(place);
                throw;
            }
        }
        return place->second;
    }

private:
    void begin(const QuestionPtr& question) {
        // Whatever the program does on a signal is not for this thread.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            std::thread{[this, question] {
                question->ask();
                close(*question);
            }}.detach();
        } catch (...) {
            pthread_sigmask(SIG_SETMASK, &before, nullptr);
            throw;
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    void close(const Question& question) VELK_EXCLUDES(mutex) {
        const MutexLock lock{mutex};
        open.erase({question.host, question.port});
    }

    Mutex mutex;
    std::map<std::pair<std::string, std::string>, QuestionPtr> open VELK_GUARDED_BY(mutex);
};

AddressLookup::AddressLookup(const std::string& host, std::uint16_t port, Clock::Duration timeout) :
    question{std::make_shared<Question>(host, port)} {
    question->ask(AI_NUMERICHOST);
    if (question->list() != nullptr) {
        return;
    }
    const std::string notFound{"the address of " + host + " was not found: "};
    try {
        question = Desk::ofProcess().put(std::make_shared<Question>(host, port));
        const auto result = question->await(timeout);
        if (result != 0) {
            reason = notFound + (result ? gai_strerror(*result) : "no answer in time");
        }
    } catch (const std::system_error& failure) {
        reason = notFound + failure.what();
    }
}

AddressLookup::~AddressLookup() = default;

const addrinfo* AddressLookup::first() const {
    return reason.empty() ? question->list() : nullptr;
}

} // namespace velk::common
