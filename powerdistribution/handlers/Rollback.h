#pragma once

#include <utility>

namespace velk::powerdistribution::handlers {

/// Puts a field back to what it was unless `keep` is called: what the store did not take does not count as
/// published, so the next poll offers it again.
template <typename T>
class Rollback {
public:
    explicit Rollback(T& guarded) : field{guarded}, before{guarded} {}
    ~Rollback() {
        if (!kept) {
            field = std::move(before);
        }
    }
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;

    void keep() { kept = true; }

private:
    T& field;
    T before;
    bool kept{false};
};

} // namespace velk::powerdistribution::handlers
