#pragma once

#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMFilterSingleInput.h"
#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterProxy.h"
#include "lumetra/nodes/LMFilterRef.h"

#include <concepts>
#include <memory>
#include <type_traits>

// A filter class that declares its parameters (see LMFilterDeclaration).
template <class Filter>
concept LMDeclaredFilter = requires
{
    {
        Filter::declaration()
        } -> std::convertible_to<const LMFilterDeclaration&>;
};

// The one line a filter class needs for its class constructors:
//
//     class MyFilter : public LMFilterClass<MyFilter, LMFilterSingleInput> { ... };
//
// gives MyFilter::filter(), filterWithContext(context) and, for one-input
// filters and multi-pass filters, filterWithInput(node), each returning an LMFilterRef<MyFilter>
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
        requires(std::is_base_of_v<LMFilterSingleInput, Base> || std::is_base_of_v<LMMultiPassFilter, Base>)
    {
        LMFilterRef<Self> created = filter();
        created->setInput(std::move(input));
        return created;
    }
    // clang-format on

    const LMFilterDeclaration* filterDeclaration() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return &Self::declaration();
        else
            return Base::filterDeclaration();
    }
    std::vector<std::string> inputNames() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return Self::declaration().namesWithRole(LMParameter::Role::Input);
        else
            return Base::inputNames();
    }
    std::vector<std::string> controlNames() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return Self::declaration().namesWithRole(LMParameter::Role::Control);
        else
            return Base::controlNames();
    }
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return Self::declaration().makeUniforms();
        else
            return Base::otherUniforms();
    }
    bool automaticallyCreatesContextDimensionsUniform() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return Self::declaration().createsContextDimensions();
        else
            return Base::automaticallyCreatesContextDimensionsUniform();
    }
    bool automaticallyCreatesTargetDimensionsUniform() const override
    {
        if constexpr (LMDeclaredFilter<Self>)
            return Self::declaration().createsTargetDimensions();
        else
            return Base::automaticallyCreatesTargetDimensionsUniform();
    }

    // Self's name, not that of the class the constructors really make.
    std::string className() const override { return LMFilter::nameOfType(typeid(Self)); }

private:
    class Made final : public Self {
        void madeByClassConstructor() override {}
    };
};
