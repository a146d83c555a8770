// A host built as strictly as many hosts build (-Wall -Wextra -Wpedantic
// -Wshadow -Werror): the umbrella header, and the public templates made with
// what hosts hand them. Its test builds it, so a warning in a public header
// fails that test; then it runs, and fails if an empty action is taken for one.

#include <lumetra/lumetra_authoring.h>

#include <functional>

struct Host {
    void frameTimeDidChange(LMPerformanceMonitor&) {}
};

class Grey : public LMFilterClass<Grey, LMFilterSingleInput> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = vec3(lm_amount); }"; }
    std::vector<std::string> controlNames() const override { return {"amount"}; }
    void setAmount(double amount) { setProperty("amount", amount); }
};

// Compiled, not called: the filter templates as a host uses them.
std::shared_ptr<LMImage> drawGraph(const std::shared_ptr<LMContext>& context)
{
    auto grey = Grey::filterWithInput(LMColor::redColor());
    grey->setAmount(0.75);
    LMFilterRef<LMFilter> base = grey;
    auto invert = LMFilterInvert::filterWithInput(base);
    invert->setValueForKey(grey, "input");
    context->executeOpenGL([&] { glFlush(); });
    return invert->drawWithContext(context);
}

int main()
{
    using Action = LMPerformanceMonitor::TargetAction;
    auto host = std::make_shared<Host>();
    int reports = 0;
    void (Host::*noMember)(LMPerformanceMonitor&) = nullptr;
    void (*noFunction)(Host&, LMPerformanceMonitor&) = nullptr;
    const bool right = Action(host, &Host::frameTimeDidChange).hasAction() &&
                       Action(host, [](Host&, LMPerformanceMonitor&) {}).hasAction() &&
                       Action(host, [&reports](Host&, LMPerformanceMonitor&) { ++reports; }).hasAction() &&
                       !Action(host, noMember).hasAction() && !Action(host, noFunction).hasAction() &&
                       !Action(host, std::function<void(Host&, LMPerformanceMonitor&)>()).hasAction();
    return right ? 0 : 1;
}
