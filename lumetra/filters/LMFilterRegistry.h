#pragma once

#include "lumetra/graph/LMFilterDeclaration.h"
#include "lumetra/nodes/LMFilterClass.h"

#include <functional>
#include <string_view>
#include <vector>

// The filter classes by their tool names: what the tool, its help and its
// demo sheet list, and what a binding to another language offers. It holds
// every built-in filter, in the order of their groups; a host may add its
// own declared classes.
//
// Threads: the shared registry is filled once, on first use, under a static's guard; adding to it afterwards is
// not locked (do it before other threads read it).
class LMFilterRegistry {
public:
    struct Entry {
        const LMFilterDeclaration* declaration = nullptr;
        std::function<LMFilterRef<LMFilter>()> make;
    };

    static LMFilterRegistry& shared();

    // A declared filter class; a later class of the same tool name replaces
    // the earlier one.
    template <LMDeclaredFilter Filter>
    void add()
    {
        add(Entry{&Filter::declaration(), [] { return LMFilterRef<LMFilter>(Filter::filter()); }});
    }
    void add(Entry entry);

    // Null for a name it does not hold.
    const Entry* find(std::string_view toolName) const;
    const std::vector<Entry>& entries() const { return entries_; }
    // The groups in the order of their first filter.
    std::vector<std::string> groups() const;

private:
    std::vector<Entry> entries_;
};
