#include "lumetra/filters/LMFilterCurves.h"

#include "lumetra/platform/LMLog.h"

#include <cmath>

namespace {

constexpr std::array<const char*, 4> curveNames = {"points", "red", "green", "blue"};

LMParameter curveParameter(const char* name, std::string help)
{
    LMParameter curve;
    curve.name = name;
    curve.type = LMParameter::Type::Numbers;
    curve.defaultValue = std::vector<double>{0, 0, 1, 1};
    curve.help = std::move(help);
    return curve;
}

// The monotone cubic through points x0,y0,x1,y1,... (Fritsch-Carlson):
// secant slopes, their means at inner points (0 where the secants' signs
// differ), then each interval's pair of tangents scaled onto the circle of
// radius 3 when it lies outside, which keeps every piece monotone.
class MonotoneCubic {
public:
    explicit MonotoneCubic(const std::vector<double>& points)
    {
        for (size_t i = 0; i + 1 < points.size(); i += 2)
            x_.push_back(points[i]), y_.push_back(points[i + 1]);
        const size_t n = x_.size();
        std::vector<double> secant(n - 1);
        for (size_t k = 0; k + 1 < n; ++k)
            secant[k] = (y_[k + 1] - y_[k]) / (x_[k + 1] - x_[k]);
        tangent_.assign(n, 0);
        tangent_[0] = secant[0];
        tangent_[n - 1] = secant[n - 2];
        for (size_t k = 1; k + 1 < n; ++k)
            tangent_[k] = secant[k - 1] * secant[k] > 0 ? (secant[k - 1] + secant[k]) / 2 : 0;
        for (size_t k = 0; k + 1 < n; ++k) {
            if (secant[k] == 0) {
                tangent_[k] = tangent_[k + 1] = 0;
                continue;
            }
            const double a = tangent_[k] / secant[k], b = tangent_[k + 1] / secant[k];
            if (a * a + b * b > 9) {
                const double t = 3 / std::sqrt(a * a + b * b);
                tangent_[k] = t * a * secant[k];
                tangent_[k + 1] = t * b * secant[k];
            }
        }
    }

    double operator()(double x) const
    {
        if (x <= x_.front())
            return y_.front();
        if (x >= x_.back())
            return y_.back();
        size_t k = 0;
        while (x > x_[k + 1])
            ++k;
        const double h = x_[k + 1] - x_[k], t = (x - x_[k]) / h;
        const double t2 = t * t, t3 = t2 * t;
        return (2 * t3 - 3 * t2 + 1) * y_[k] + (t3 - 2 * t2 + t) * h * tangent_[k] + (-2 * t3 + 3 * t2) * y_[k + 1] +
               (t3 - t2) * h * tangent_[k + 1];
    }

private:
    std::vector<double> x_, y_, tangent_;
};

std::string problemWithCurve(const char* name, const std::vector<double>& points)
{
    const std::string prefix = std::string("curves: ") + name + "=: ";
    if (points.size() < 4 || points.size() % 2)
        return prefix + "a curve is pairs x,y of at least two points, not " + std::to_string(points.size()) +
               " numbers";
    for (size_t i = 0; i < points.size(); i += 2) {
        if (!std::isfinite(points[i]) || !std::isfinite(points[i + 1]) || points[i] < 0 || points[i] > 1)
            return prefix + "point " + std::to_string(i / 2 + 1) + " has x outside 0...1";
        if (i > 0 && !(points[i] > points[i - 2]))
            return prefix + "point " + std::to_string(i / 2 + 1) + " has x not above the point before";
    }
    return "";
}

} // namespace

const LMFilterDeclaration& LMFilterCurves::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("curves", "colour", "tone curves: monotone cubics through points, master then channel")
            .input("input", "the image")
            .perPixel()
            .parameter(curveParameter("points", "the master curve, x0,y0,x1,y1,... (x increasing in 0...1)"))
            .parameter(curveParameter("red", "red's curve, applied after the master"))
            .parameter(curveParameter("green", "green's curve, applied after the master"))
            .parameter(curveParameter("blue", "blue's curve, applied after the master"))
            .demo("curves points=0,0,.3,.1,.7,.9,1,1");
    return declared;
}

// The two entries either side, mixed here rather than by the texture unit
// (whose weights some drivers keep to steps of 1/256).
std::string LMFilterCurves::kernelSource() const
{
    return "void main() {"
           "    int n = textureSize(lm_table, 0);"
           "    vec3 p = clamp(texture(lm_input, lm_location).rgb, 0.0, 1.0) * float(n - 1);"
           "    ivec3 i = min(ivec3(p), n - 2);"
           "    vec3 f = p - vec3(i);"
           "    lm_output = vec3(mix(texelFetch(lm_table, i.r, 0).r, texelFetch(lm_table, i.r + 1, 0).r, f.r),"
           "                     mix(texelFetch(lm_table, i.g, 0).g, texelFetch(lm_table, i.g + 1, 0).g, f.g),"
           "                     mix(texelFetch(lm_table, i.b, 0).b, texelFetch(lm_table, i.b + 1, 0).b, f.b));"
           "} ";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterCurves::otherUniforms() const
{
    std::vector<std::shared_ptr<LMUniform>> uniforms = LMFilterClass::otherUniforms();
    uniforms.push_back(table_);
    return uniforms;
}

std::vector<double> LMFilterCurves::curveSetting(std::string_view name) const
{
    if (valueForKey(name).isNone())
        return {0, 0, 1, 1};
    return numbersProperty(name);
}

std::string LMFilterCurves::configurationProblem() const
{
    for (const char* name : curveNames)
        if (std::string problem = problemWithCurve(name, curveSetting(name)); !problem.empty())
            return problem;
    return "";
}

void LMFilterCurves::prepareToDraw(const std::shared_ptr<LMContext>&)
{
    std::array<std::vector<double>, 4> curves;
    for (size_t i = 0; i < curves.size(); ++i)
        curves[i] = curveSetting(curveNames[i]);
    if (!made_ || curves != madeFrom_) {
        madeFrom_ = curves;
        made_ = true;
        if (const std::string problem = configurationProblem(); !problem.empty()) {
            if (problem != reported_)
                LMLog("%s: %s; drawing the input unchanged", className().c_str(), problem.c_str());
            reported_ = problem;
            table_->setIdentity();
        } else {
            const MonotoneCubic master(curves[0]);
            const std::array<MonotoneCubic, 3> channel = {MonotoneCubic(curves[1]), MonotoneCubic(curves[2]),
                                                          MonotoneCubic(curves[3])};
            std::vector<float> entries;
            entries.reserve(size_t(tableSize) * 3);
            for (int i = 0; i < tableSize; ++i) {
                const double through = master(double(i) / (tableSize - 1));
                for (const MonotoneCubic& curve : channel)
                    entries.push_back(float(curve(through)));
            }
            table_->setTable(std::move(entries), tableSize);
        }
    }
}
