#pragma once

#include <functional>
#include <memory>
#include <type_traits>

// Who hears a sender's reports: an object, held weakly, and the operation to
// call on it with the sender. Once the object is gone the pair calls nothing,
// so a host need not unregister before it goes away. Target and action are
// one value because the operation's type depends on the target's class; set
// apart, they could not be checked against each other.
//
//     monitor->setTargetAction({host, &Host::frameTimeDidChange});
//     monitor->setTargetAction({host, [](Host& host, LMPerformanceMonitor& m) { ... }});
//
// Threads: a plain value; no locks; copies may be used on any thread. sendFrom calls the action on the calling
// thread, keeping the target alive for the call.
template <class Sender>
class LMTargetAction {
public:
    // No target and no action: calls nothing.
    LMTargetAction() = default;

    // The action is a member function of the target's class (or of a base)
    // taking the sender, or any callable taking the target and the sender.
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    template <class Target, class Action>
        requires std::is_invocable_v<Action&, Target&, Sender&>
    LMTargetAction(const std::shared_ptr<Target>& target, Action action)
        : target_(target)
    {
        // A null pointer or an empty function is no action. Only what can
        // be empty is asked: a captureless lambda converts to bool through
        // its function pointer, which is never null, and compilers warn
        // about that test in a host's strict build.
        if constexpr (std::is_pointer_v<Action> || std::is_member_pointer_v<Action>) {
            if (action == nullptr)
                return;
        } else if constexpr (requires { action.operator bool(); }) {
            if (!action.operator bool())
                return;
        }
        action_ = [action = std::move(action)](void* object, Sender& sender) mutable {
            std::invoke(action, *static_cast<Target*>(object), sender);
        };
    }
    // clang-format on

    // The target while it lives; null once it is gone or when there is none.
    std::shared_ptr<void> target() const { return target_.lock(); }
    bool hasAction() const { return static_cast<bool>(action_); }

    // Calls the action on the target, which is kept alive for the call.
    // Returns false, calling nothing, when the target is gone or there is no
    // action.
    bool sendFrom(Sender& sender) const
    {
        const std::shared_ptr<void> target = target_.lock();
        if (!target || !action_)
            return false;
        action_(target.get(), sender);
        return true;
    }

private:
    std::weak_ptr<void> target_;
    // Takes the target as it was stored: a Target* converted to void*.
    std::function<void(void*, Sender&)> action_;
};
