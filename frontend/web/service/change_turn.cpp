#include "frontend/web/service/change_turn.h"

#include "frontend/web/service/answer.h"

namespace {

constexpr std::chrono::seconds LONGEST_WAIT{30};

} // namespace

bool ChangeQueue::enter(std::chrono::milliseconds longestWait) {
    std::unique_lock lock(mutex);
    if (!freed.wait_for(lock, longestWait, [this] { return !taken; })) {
        return false;
    }
    taken = true;
    return true;
}

void ChangeQueue::leave() {
    const std::lock_guard lock(mutex);
    taken = false;
    freed.notify_one();
}

ChangeTurn::ChangeTurn(ChangeQueue& changes) : queue(changes) {
    if (!queue.enter(LONGEST_WAIT)) {
        throw serviceUnavailable("Other changes of certificates are still under way.");
    }
}

ChangeTurn::~ChangeTurn() {
    queue.leave();
}
