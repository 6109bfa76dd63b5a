// What is done, or comes back, when a scope ends.
#pragma once

#include <utility>

namespace zustd {

/// Runs an action when its scope ends, in whatever way it does.
///
/// The action must not throw: what it says to do is what cannot be left undone.
/// Keep the guard in a named variable; it is neither copied nor moved.
template <typename Action>
class [[nodiscard]] ScopeExit {
public:
    explicit ScopeExit(Action action) : action_(std::move(action)) {}
    ~ScopeExit() { action_(); }
    ScopeExit& operator=(ScopeExit&&) = delete;

private:
    Action action_;
};

/// Gives a variable another value for as long as a scope lasts.
///
/// The variable must outlive the scope; what it held comes back at the end,
/// whatever was assigned between.
template <typename Value>
class [[nodiscard]] ScopedValue {
public:
    template <typename Other>
    ScopedValue(Value& variable, Other&& value)
        : variable_(variable), former_(std::exchange(variable, std::forward<Other>(value))) {}
    ~ScopedValue() { variable_ = std::move(former_); }
    ScopedValue& operator=(ScopedValue&&) = delete;

private:
    Value& variable_;
    Value former_;
};

}  // namespace zustd
