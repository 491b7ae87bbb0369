// A task that runs during a wait.
#pragma once

#include <algorithm>

#include "platform/deadline.h"

// Something to do during a long wait, such as showing on a terminal that it takes long. It never ends the wait.
class IdleTask {
  public:
    IdleTask() = default;
    IdleTask(const IdleTask&) = delete;
    IdleTask& operator=(const IdleTask&) = delete;
    virtual ~IdleTask() = default;

    // Returns when to call run() next.
    [[nodiscard]] virtual Deadline due() const = 0;

    // Does what is due now, which can be nothing.
    virtual void run() = 0;
};

// Returns when to interrupt the wait: at the deadline or, if that is earlier, when the task is due. The task can be
// null.
inline Deadline next_stop(Deadline deadline, const IdleTask* task) {
    return task == nullptr ? deadline : std::min(deadline, task->due());
}

// Calls run() unless the task is null.
inline void run(IdleTask* task) {
    if (task != nullptr) {
        task->run();
    }
}
