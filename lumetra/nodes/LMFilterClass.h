#pragma once

#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMFilterSingleInput.h"
#include "lumetra/nodes/LMFilterProxy.h"
#include "lumetra/nodes/LMFilterRef.h"

#include <memory>
#include <type_traits>

// The one line a filter class needs for its class constructors:
//
//     class MyFilter : public LMFilterClass<MyFilter, LMFilterSingleInput> { ... };
//
// gives MyFilter::filter(), filterWithContext(context) and, for one-input
// filters, filterWithInput(node), each returning an LMFilterRef<MyFilter>
// through a new proxy. Filter classes need a default constructor (it may be
// protected) and must not be final.
//
// These are the only ways to make a filter: what they make is a final class
// derived from MyFilter, and MyFilter itself stays abstract, so a filter made
// any other way, which would skip init(), does not compile. A class derived
// from a concrete filter restates the line with itself as Self.
//
// Threads: the class constructors lock nothing and run on the calling thread (filterWithContext loads the program
// there, compiling it on the context's GL queue); what they make follows LMFilter's rule.
template <class Self, class Base = LMFilter>
class LMFilterClass : public Base {
public:
    static LMFilterRef<Self> filter()
    {
        static_assert(!std::is_final_v<Self>, "a filter class is made by a class derived from it; it cannot be final");
        std::shared_ptr<Self> created = std::make_shared<Made>();
        created->init();
        return LMFilterRef<Self>(LMFilterProxy::proxyWithTarget(std::move(created)));
    }

    static LMFilterRef<Self> filterWithContext(const std::shared_ptr<LMContext>& context)
    {
        LMFilterRef<Self> created = filter();
        created->preloadWithContext(context);
        return created;
    }

    // Through the handle, so the input setter is watched as any other.
    // (clang-format 14 misplaces requires-clauses)
    // clang-format off
    static LMFilterRef<Self> filterWithInput(std::shared_ptr<LMDrawable> input)
        requires std::is_base_of_v<LMFilterSingleInput, Base>
    {
        LMFilterRef<Self> created = filter();
        created->setInput(std::move(input));
        return created;
    }
    // clang-format on

    // Self's name, not that of the class the constructors really make.
    std::string className() const override { return LMFilter::nameOfType(typeid(Self)); }

private:
    class Made final : public Self {
        void madeByClassConstructor() override {}
    };
};
