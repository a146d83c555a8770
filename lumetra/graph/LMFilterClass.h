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
// through a new proxy. Filter classes need a default constructor.
template <class Self, class Base = LMFilter>
class LMFilterClass : public Base {
public:
    static LMFilterRef<Self> filter()
    {
        std::shared_ptr<Self> created = std::make_shared<Self>();
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
    static LMFilterRef<Self> filterWithInput(std::shared_ptr<LMDrawable> input)
        requires std::is_base_of_v<LMFilterSingleInput, Base>
    {
        LMFilterRef<Self> created = filter();
        created->setInput(std::move(input));
        return created;
    }
};
