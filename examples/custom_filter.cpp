// A filter of the host's own: a GLSL kernel with one input, one control and a
// vector uniform, chained after a colour node, drawn and read back.
//
// Prints the colour it read and exits with 0 when it is the expected one.

#include <lumetra/lumetra_authoring.h>

#include <cmath>
#include <cstdio>

// Mixes the input towards a tint by an amount. Its parameters are declared
// once; the input, control and uniform lists the library asks for, the
// defaults and the checks of `amount` all come from the declaration.
class TintFilter : public LMFilterClass<TintFilter, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration()
    {
        static const LMFilterDeclaration declared =
            LMFilterDeclaration("tint", "colour", "mixes the image towards a colour")
                .input("input", "the image")
                .control("amount", 0, 0, 1, "", "how far towards the tint")
                .uniform("tint", LMParameter::Type::Vector3, LMValue{1.0, 1.0, 1.0}, "the colour, linear");
        return declared;
    }
    std::string kernelSource() const override
    {
        return "void main() {"
               "    vec3 color = texture(lm_input, lm_location).rgb;"
               "    lm_output = mix(color, lm_tint, lm_amount);"
               "}";
    }

    void setAmount(double amount) { setProperty("amount", amount); }
    void setTint(double red, double green, double blue) { setProperty("tint", LMValue{red, green, blue}); }
};

int main()
{
    auto context = LMContext::contextWithDimensions({320, 240});

    auto tint = TintFilter::filterWithInput(LMColor::colorWithRed(0.2, 0.4, 0.6));
    tint->setAmount(0.5);
    tint->setTint(1.0, 0.0, 0.0);

    auto image = tint->drawWithContext(context);
    const std::optional<LMRGBA> color = image ? image->readPixelColorAtX(160, 120) : std::nullopt;
    if (!color) {
        std::printf("nothing was drawn\n");
        return 1;
    }
    std::printf("%s drew (%.3f, %.3f, %.3f)\n", tint.proxy()->description().c_str(), color->red, color->green,
                color->blue);

    // Half way between (0.2, 0.4, 0.6) and red.
    const bool expected = std::fabs(color->red - 0.6) < 0.01 && std::fabs(color->green - 0.2) < 0.01 &&
                          std::fabs(color->blue - 0.3) < 0.01;
    return expected ? 0 : 1;
}
