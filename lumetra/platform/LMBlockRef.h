#pragma once

#include <memory>
#include <type_traits>

// A non-owning reference to a callable taking no arguments and returning
// nothing: the block type of the GL queue. Submissions are synchronous, so
// the callable (usually a lambda temporary) outlives every use of the
// reference, and handing a block over costs no allocation.
//
// Threads: no lock; the callable runs on whichever thread calls the reference (the GL queue's, for a block handed
// to it) while the submitter waits.
class LMBlockRef {
public:
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    template <class Callable>
        requires(!std::is_same_v<std::remove_cvref_t<Callable>, LMBlockRef> &&
                 !std::is_function_v<std::remove_reference_t<Callable>> &&
                 std::is_invocable_r_v<void, Callable&>)
    LMBlockRef(Callable&& callable) noexcept // NOLINT: implicit by design
        : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable))))
        , invoke_([](void* object) { (*static_cast<std::remove_reference_t<Callable>*>(object))(); })
    // clang-format on
    {}

    LMBlockRef(void (*function)()) noexcept // NOLINT: implicit by design
        : object_(reinterpret_cast<void*>(function)),
          invoke_([](void* object) { reinterpret_cast<void (*)()>(object)(); })
    {}

    void operator()() const { invoke_(object_); }

private:
    void* object_;
    void (*invoke_)(void*);
};
