// Filters that declare their parameters: the hooks, the keys they know, the
// marking of their settings and the reading of bad values all come from the
// one declaration, for the built-in filters and for a host's own.

#include "support/LogCapture.h"
#include "support/TexturePixels.h"

#include <lumetra/lumetra_authoring.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

// A host's declared filter: a control its kernel reads and two settings its
// own code turns into the control's value before each draw.
class Tinter : public LMFilterClass<Tinter, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration()
    {
        static const LMFilterDeclaration declared =
            LMFilterDeclaration("tint", "colour", "scales the image")
                .input("input", "the image")
                .control("gain", 1, 0, 4, "", "the factor")
                .integer("steps", 2, 1, 8, "", "how many halvings")
                .choice("mode", "halve", {"halve", "keep"}, "what the steps do");
        return declared;
    }
    std::string kernelSource() const override
    {
        return "void main() { lm_output = texture(lm_input, lm_location).rgb * lm_gain; }";
    }
    double steps() const { return numberSetting("steps"); }
    void setSteps(double steps) { setProperty("steps", steps); }
    std::string mode() const { return choiceSetting("mode"); }
    void setMode(std::string mode) { setProperty("mode", std::move(mode)); }
};

} // namespace

// The declared lists are exactly the filters' documented hook lists.
TEST(FilterDeclarations, GiveTheBuiltInFiltersTheirHookLists)
{
    using Names = std::vector<std::string>;
    struct Case {
        LMFilterRef<LMFilter> filter;
        Names inputs, controls, uniforms;
        bool contextDimensions;
    };
    const Case cases[] = {
        {LMFilterInvert::filter(), {"input"}, {}, {}, false},
        {LMFilterFader::filter(), {"input"}, {"control"}, {}, false},
        {LMFilterMax2::filter(), {"inputA", "inputB"}, {}, {}, false},
        {LMFilterCircle::filter(), {}, {"radius"}, {"centerVector"}, false},
        {LMFilterTransform::filter(), {"input"}, {}, {"transformMatrix"}, true},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.filter->className());
        EXPECT_EQ(test.filter->inputNames(), test.inputs);
        EXPECT_EQ(test.filter->controlNames(), test.controls);
        Names uniforms;
        for (const auto& uniform : test.filter->otherUniforms())
            uniforms.push_back(uniform->name());
        EXPECT_EQ(uniforms, test.uniforms);
        EXPECT_EQ(test.filter->shouldCreateContextDimensionsUniform(), test.contextDimensions);
    }
    EXPECT_NE(LMFilterCircle::filter()->preprocessedFragmentShaderSource().find("uniform vec2 lm_centerVector;"),
              std::string::npos);
    EXPECT_NE(LMFilterTransform::filter()->preprocessedFragmentShaderSource().find("uniform mat3 lm_transformMatrix;"),
              std::string::npos);
}

// Every registered filter is made by its entry, carries its declaration, and
// declares defaults its own checks accept.
TEST(FilterDeclarations, RegistryEntriesAreConsistent)
{
    std::set<std::string> names;
    for (const LMFilterRegistry::Entry& entry : LMFilterRegistry::shared().entries()) {
        const LMFilterDeclaration& declared = *entry.declaration;
        SCOPED_TRACE(declared.toolName());
        EXPECT_TRUE(names.insert(declared.toolName()).second) << "a second filter of the name";
        EXPECT_EQ(entry.make()->filterDeclaration(), &declared);
        EXPECT_EQ(LMFilterRegistry::shared().find(declared.toolName()), &entry);
        for (const LMParameter& parameter : declared.parameters()) {
            SCOPED_TRACE(parameter.name);
            EXPECT_FALSE(parameter.help.empty());
            if (const double* number = parameter.defaultValue.number()) {
                EXPECT_EQ(parameter.problemWithNumber(*number), "");
            }
            if (parameter.type == LMParameter::Type::Choice) {
                EXPECT_NE(std::find(parameter.choices.begin(), parameter.choices.end(), parameter.defaultText()),
                          parameter.choices.end());
            }
        }
    }
    EXPECT_EQ(LMFilterRegistry::shared().find("no-such-filter"), nullptr);
}

// Settings are keys the filter knows, and their setters mark it through
// its handle as a control's do: with caching on, a change shows at once.
TEST(FilterDeclarations, SettingsAreKnownKeysThatMarkTheFilter)
{
    LogCapture log;
    auto context = LMContext::contextWithDimensions({4, 4});
    context->setCachingEnabled(true);
    auto tint = Tinter::filterWithInput(LMColor::colorWithRed(0.5, 0.5, 0.5));
    tint->setValueForKey(LMValue(0.5), "gain");
    tint->drawWithContext(context);
    tint->setSteps(3);
    EXPECT_TRUE(tint->needsRedraw());
    tint->drawWithContext(context);
    tint->setMode("keep");
    EXPECT_TRUE(tint->needsRedraw());
    tint->setValueForKey(LMValue(4), "steps");
    EXPECT_EQ(tint->steps(), 4);
    for (const std::string& line : log.lines())
        EXPECT_EQ(line.find("No input, control or uniform"), std::string::npos) << line;

    // A misspelt key is named, with the settings among what the filter knows.
    tint->setValueForKey(LMValue(1), "stpes");
    const std::vector<std::string> lines = log.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find("stpes"), std::string::npos);
    EXPECT_NE(lines.back().find("knows only: input, gain, steps, mode"), std::string::npos) << lines.back();
}

// A value outside the declaration reads as the default, said once per key.
TEST(FilterDeclarations, BadSettingsReadAsTheirDefaultsAndAreReportedOnce)
{
    LogCapture log;
    auto tint = Tinter::filter();
    EXPECT_EQ(tint->steps(), 2);
    EXPECT_EQ(tint->mode(), "halve");
    for (double bad : {0.0, 9.0, 2.5, std::nan("")}) {
        tint->setSteps(bad);
        EXPECT_EQ(tint->steps(), 2) << bad;
    }
    tint->setMode("double");
    EXPECT_EQ(tint->mode(), "halve");
    tint->setMode("double");
    EXPECT_EQ(tint->mode(), "halve");
    int stepsLines = 0, modeLines = 0;
    for (const std::string& line : log.lines()) {
        stepsLines += line.find("The value of steps is 0, which must be at least 1") != std::string::npos;
        modeLines += line.find("The value of mode is \"double\", not one of halve|keep") != std::string::npos;
    }
    EXPECT_EQ(stepsLines, 1);
    EXPECT_EQ(modeLines, 1);
}

// An unset control draws with its declared default, not 0.
TEST(FilterDeclarations, UnsetControlsDrawTheirDeclaredDefault)
{
    auto context = LMContext::contextWithDimensions({2, 2});
    auto tint = Tinter::filterWithInput(LMColor::colorWithRed(0.25, 0.5, 0.75));
    const std::optional<LMRGBA> unset = tint->drawWithContext(context)->readPixelColorAtX(0, 0);
    ASSERT_TRUE(unset);
    EXPECT_NEAR(unset->green, 0.5, 0.01);
    tint->setValueForKey(LMValue(2.0), "gain");
    EXPECT_NEAR(tint->drawWithContext(context)->readPixelColorAtX(0, 0)->green, 1.0, 0.01);
}
