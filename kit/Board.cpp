#include "kit/Board.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>
#include <sys/mman.h>
#include <system_error>

namespace velk::kit {

namespace {

Board* crashBoard = nullptr; // of the one handler that a process can have

void onCrash(int signal) {
    crashBoard->crashed = slotOfThisThread();
    // The handler is set for one signal only, so this one ends the process.
    raise(signal);
}

template <std::size_t N>
void copyText(std::string_view text, std::array<char, N>& target) {
    const std::size_t length = std::min(text.size(), N - 1);
    text.copy(target.data(), length);
    target[length] = '\0';
}

} // namespace

Board& Board::make() {
    void* const memory =
        mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::system_error{errno, std::generic_category(), "mmap"};
    }
    return *new (memory) Board;
}

void Board::noteChange(std::string_view text) {
    copyText(text, changed);
}

std::int32_t& slotOfThisThread() {
    thread_local std::int32_t slot = 0;
    return slot;
}

void noteCrashesOn(Board& board) {
    crashBoard = &board;
    struct sigaction action {};
    action.sa_handler = onCrash;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        sigaction(signal, &action, nullptr);
    }
}

Doing::Doing(Board& board, std::string_view operation, std::string_view path, std::uint32_t patienceMs) :
    slot{board.slots.at(static_cast<std::size_t>(slotOfThisThread()))} {
    copyText(operation, slot.operation);
    copyText(path, slot.path);
    slot.patienceMs = patienceMs;
    ++slot.moves;
    slot.busy = true;
}

Doing::~Doing() {
    slot.busy = false;
    ++slot.moves;
}

} // namespace velk::kit
