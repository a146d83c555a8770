// A host built as strictly as many hosts build (-Wall -Wextra -Wpedantic
// -Wshadow -Werror): the umbrella header, and each template of the public
// headers made with what a host hands it. Its test builds it, so a warning in
// a public header fails that test; then it runs, and exits non-zero when
// what it made does not work.

#include <lumetra/lumetra.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>

namespace {

class Host {
public:
    void frameTimeDidChange(LMPerformanceMonitor&) {}
};

class Grey : public LMFilterClass<Grey, LMFilterSingleInput> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = vec3(lm_amount); }"; }
    std::vector<std::string> controlNames() const override { return {"amount"}; }
    void setAmount(double amount) { setProperty("amount", amount); }
};

using Action = LMPerformanceMonitor::TargetAction;

} // namespace

int main()
{
    // Every kind of action a host may give; the empty ones are no action.
    auto host = std::make_shared<Host>();
    int reports = 0;
    void (Host::*noMember)(LMPerformanceMonitor&) = nullptr;
    void (*noFunction)(Host&, LMPerformanceMonitor&) = nullptr;
    const bool actions = Action(host, &Host::frameTimeDidChange).hasAction() &&
                         Action(host, [](Host&, LMPerformanceMonitor&) {}).hasAction() &&
                         Action(host, [&reports](Host&, LMPerformanceMonitor&) { ++reports; }).hasAction() &&
                         !Action(host, noMember).hasAction() && !Action(host, noFunction).hasAction() &&
                         !Action(host, std::function<void(Host&, LMPerformanceMonitor&)>()).hasAction();

    auto context = LMContext::contextWithDimensions({8, 8});
    auto grey = Grey::filterWithInput(LMColor::redColor());
    grey->setAmount(0.75);
    LMFilterRef<LMFilter> base = grey;
    auto invert = LMFilterInvert::filterWithInput(base);
    int width = 0;
    context->executeOpenGL([&] { width = static_cast<int>(context->dimensions().width); });
    auto image = invert->drawWithContext(context);
    const std::optional<LMRGBA> pixel = image ? image->readPixelColorAtX(4, 4) : std::nullopt;
    const bool drawn = width == 8 && pixel && std::fabs(pixel->green - 0.25) < 0.01;

    std::printf("actions %s, drawing %s\n", actions ? "right" : "wrong", drawn ? "right" : "wrong");
    return actions && drawn ? 0 : 1;
}
