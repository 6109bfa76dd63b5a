// A timer that sends a message on the main thread while the message loop runs.
#pragma once

#include <algorithm>

#include "ZuAbstraction.h"
#include "ZuMessaging.h"
#include "ZuSharedObject.h"

namespace zustd {

// What a backend does for a timer. Slot order is fixed.
class ITimerImpl : public IBackend {
public:
    // Starts anew with the interval of the moment; whether the system had a timer to give.
    virtual bool start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
    // Milliseconds, 1 or more. A running timer goes on with the new interval.
    virtual void setInterval(std::uint32_t milliseconds) = 0;
    virtual std::uint32_t getInterval() const = 0;
    // A timer that does not repeat stops before it sends its one tick.
    virtual void setRepeating(bool repeating) = 0;
    virtual bool isRepeating() const = 0;
};

// Timers come from WindowService::createTimer; the backend keeps interval and repetition.
class Timer : public Abstraction<ITimerImpl>, public MessageForwarder, public SharedObject {
public:
    // First word: the timer.
    static const MessageKind kTimerTick;

    explicit Timer(std::wstring name = {}) : name_(std::move(name)) {}
    ~Timer() override { releaseImplementation(); }

    const std::wstring& name() const noexcept { return name_; }

    // Each fails the assertion "impl_" as long as there is no backend.
    bool start() { return implementation().start(); }
    bool start(std::uint32_t milliseconds, bool repeating);
    void stop() { implementation().stop(); }
    bool isRunning() const { return implementation().isRunning(); }
    void setInterval(std::uint32_t milliseconds) {
        implementation().setInterval(std::max(milliseconds, std::uint32_t{1}));
    }
    std::uint32_t getInterval() const { return implementation().getInterval(); }
    void setRepeating(bool repeating) { implementation().setRepeating(repeating); }
    bool isRepeating() const { return implementation().isRepeating(); }

    // For the backend: an interval has passed. The timer may be destroyed by whoever hears of it.
    void acceptTick();

private:
    std::wstring name_;
};

}  // namespace zustd
