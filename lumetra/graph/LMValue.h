#pragma once

#include "lumetra/graph/LMDrawable.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <variant>
#include <vector>

// A value held by name in a node's property store: nothing, a number, a list
// of numbers, a string or a drawable. Readers ask for the kind they need and
// get nothing when the value is of another kind, so a value of the wrong kind
// is treated as absent rather than misread.
//
// Threads: a plain value; no locks; copies may be used on any thread (a drawable it holds is shared, and keeps the
// rule of nodes).
class LMValue {
public:
    LMValue() = default;
    LMValue(std::nullptr_t) {}
    LMValue(double number) : storage_(number) {}
    LMValue(int number) : storage_(static_cast<double>(number)) {}
    LMValue(std::vector<double> numbers) : storage_(std::move(numbers)) {}
    LMValue(std::initializer_list<double> numbers) : storage_(std::vector<double>(numbers)) {}
    LMValue(std::string text) : storage_(std::move(text)) {}
    LMValue(const char* text) : storage_(std::string(text ? text : "")) {}
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    template <class Drawable>
        requires std::is_convertible_v<Drawable*, LMDrawable*>
    LMValue(std::shared_ptr<Drawable> drawable)
        : storage_(drawable ? Storage(std::in_place_type<std::shared_ptr<LMDrawable>>, std::move(drawable))
                            : Storage())
    {
        // Made in place rather than assigned: GCC 12, optimising a host's
        // sanitizer build, takes the assignment into an empty variant for a
        // read of an uninitialised pointer (-Wmaybe-uninitialized).
    }
    // clang-format on

    // Anything that stands for a drawable, such as a filter handle.
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    template <class Handle>
        requires(!std::is_same_v<Handle, std::nullptr_t> && !requires { typename Handle::element_type; } &&
                 std::is_convertible_v<const Handle&, std::shared_ptr<LMDrawable>>)
    LMValue(const Handle& handle) : LMValue(static_cast<std::shared_ptr<LMDrawable>>(handle))
    {
    }
    // clang-format on

    bool isNone() const { return std::holds_alternative<std::monostate>(storage_); }
    bool isNumber() const { return std::holds_alternative<double>(storage_); }
    bool isNumbers() const { return std::holds_alternative<std::vector<double>>(storage_); }
    bool isString() const { return std::holds_alternative<std::string>(storage_); }
    bool isDrawable() const { return std::holds_alternative<std::shared_ptr<LMDrawable>>(storage_); }

    // Null when the value is of another kind.
    const double* number() const { return std::get_if<double>(&storage_); }
    const std::vector<double>* numbers() const { return std::get_if<std::vector<double>>(&storage_); }
    const std::string* string() const { return std::get_if<std::string>(&storage_); }
    std::shared_ptr<LMDrawable> drawable() const
    {
        auto drawable = std::get_if<std::shared_ptr<LMDrawable>>(&storage_);
        return drawable ? *drawable : nullptr;
    }

    // "nothing", "a number", "a list of numbers", "a string" or "a drawable",
    // for messages about values of the wrong kind.
    const char* kindDescription() const
    {
        static constexpr const char* names[] = {"nothing", "a number", "a list of numbers", "a string", "a drawable"};
        return names[storage_.index()];
    }

    friend bool operator==(const LMValue&, const LMValue&) = default;

private:
    using Storage = std::variant<std::monostate, double, std::vector<double>, std::string, std::shared_ptr<LMDrawable>>;
    Storage storage_;
};
