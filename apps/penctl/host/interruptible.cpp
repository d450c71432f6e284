#include "host/interruptible.h"

#include <future>
#include <thread>
#include <utility>

#include "ui/interrupt.h"

namespace penctl {

bool finishesBeforeInterrupt(std::function<void()> call)
{
    std::packaged_task<void()> task(std::move(call));
    std::future<void> finished = task.get_future();
    std::thread worker(std::move(task));
    while (finished.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        if (Interrupt::requested()) {
            worker.detach();
            return false;
        }
    }
    worker.join();
    finished.get();
    return true;
}

} // namespace penctl
