#include "lumetra/filters/LMFilterLut.h"

#include "lumetra/platform/LMCubeFile.h"
#include "lumetra/platform/LMLog.h"

const LMFilterDeclaration& LMFilterLut::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("lut", "colour", "a colour lookup table from a .cube file (1D or 3D), mixed by strength")
            .input("input", "the image")
            .perPixel()
            .file("file", "the .cube file")
            .control("strength", 1, 0, 1, "", "0 leaves the input, 1 gives the table's colours")
            .uniform("domainMin", LMParameter::Type::Vector3, std::vector<double>{0, 0, 0},
                     "the table's DOMAIN_MIN, from the file")
            .libraryOnly()
            .uniform("domainMax", LMParameter::Type::Vector3, std::vector<double>{1, 1, 1},
                     "the table's DOMAIN_MAX, from the file")
            .libraryOnly()
            .demo("lut file=warm.cube")
            .demoFile("warm.cube", "TITLE \"warm\"\n# red lifted, blue lowered, shadows tinted\nLUT_3D_SIZE 2\n"
                                   "0.10 0.03 0.00\n1.00 0.55 0.25\n0.15 0.95 0.05\n1.00 1.00 0.30\n"
                                   "0.05 0.05 0.60\n0.95 0.50 0.75\n0.10 0.90 0.70\n1.00 0.97 0.82\n");
    return declared;
}

// A 1D table and then a 3D one; the one the file does not hold is the
// identity (two entries a side). Between entries the kernel mixes the two
// it fetches (eight for a cube, trilinearly) in single precision rather
// than leave it to the texture unit: some drivers weigh filtered texels in
// steps of 1/256 only, which is up to half an 8-bit level off.
std::string LMFilterLut::kernelSource() const
{
    return "void main() {"
           "    vec3 c = texture(lm_input, lm_location).rgb;"
           "    vec3 t = clamp((c - lm_domainMin) / (lm_domainMax - lm_domainMin), 0.0, 1.0);"
           "    int n = textureSize(lm_table1D, 0);"
           "    vec3 p = t * float(n - 1);"
           "    ivec3 i = min(ivec3(p), n - 2);"
           "    vec3 f = p - vec3(i);"
           "    vec3 line = vec3(mix(texelFetch(lm_table1D, i.r, 0).r, texelFetch(lm_table1D, i.r + 1, 0).r, f.r),"
           "                     mix(texelFetch(lm_table1D, i.g, 0).g, texelFetch(lm_table1D, i.g + 1, 0).g, f.g),"
           "                     mix(texelFetch(lm_table1D, i.b, 0).b, texelFetch(lm_table1D, i.b + 1, 0).b, f.b));"
           "    int m = textureSize(lm_table3D, 0).x;"
           "    vec3 q = clamp(line, 0.0, 1.0) * float(m - 1);"
           "    ivec3 j = min(ivec3(q), m - 2);"
           "    vec3 g = q - vec3(j);"
           "    vec3 c00 = mix(texelFetch(lm_table3D, j, 0).rgb, texelFetch(lm_table3D, j + ivec3(1, 0, 0), 0).rgb, "
           "g.r);"
           "    vec3 c10 = mix(texelFetch(lm_table3D, j + ivec3(0, 1, 0), 0).rgb,"
           "                   texelFetch(lm_table3D, j + ivec3(1, 1, 0), 0).rgb, g.r);"
           "    vec3 c01 = mix(texelFetch(lm_table3D, j + ivec3(0, 0, 1), 0).rgb,"
           "                   texelFetch(lm_table3D, j + ivec3(1, 0, 1), 0).rgb, g.r);"
           "    vec3 c11 = mix(texelFetch(lm_table3D, j + ivec3(0, 1, 1), 0).rgb,"
           "                   texelFetch(lm_table3D, j + ivec3(1, 1, 1), 0).rgb, g.r);"
           "    vec3 graded = mix(mix(c00, c10, g.g), mix(c01, c11, g.g), g.b);"
           "    lm_output = mix(c, clamp(graded, 0.0, 1.0), lm_strength);"
           "} ";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterLut::otherUniforms() const
{
    std::vector<std::shared_ptr<LMUniform>> uniforms = LMFilterClass::otherUniforms();
    uniforms.push_back(line_);
    uniforms.push_back(cube_);
    return uniforms;
}

std::string LMFilterLut::file() const
{
    const LMValue value = valueForKey("file");
    const std::string* path = value.string();
    return path ? *path : "";
}

void LMFilterLut::setStrength(std::optional<double> strength)
{
    setProperty("strength", strength ? LMValue(*strength) : LMValue());
}

void LMFilterLut::readFileIfNeeded() const
{
    const std::string path = file();
    if (readPath_ == path)
        return;
    readPath_ = path;
    line_->setIdentity();
    cube_->setIdentity();
    domainMin_ = {0, 0, 0}, domainMax_ = {1, 1, 1};
    if (path.empty()) {
        problem_ = "lut: no .cube file is set";
        return;
    }
    LMCubeFile::Reading reading = LMCubeFile::read(path);
    problem_ = reading.problem;
    if (!reading.table)
        return;
    LMCubeFile::Table& table = *reading.table;
    (table.dimensions == 1 ? line_ : cube_)->setTable(std::move(table.entries), table.size);
    domainMin_.assign(table.domainMin.begin(), table.domainMin.end());
    domainMax_.assign(table.domainMax.begin(), table.domainMax.end());
}

std::string LMFilterLut::configurationProblem() const
{
    readFileIfNeeded();
    return problem_;
}

void LMFilterLut::prepareToDraw(const std::shared_ptr<LMContext>&)
{
    readFileIfNeeded();
    if (!problem_.empty() && problem_ != reported_)
        LMLog("%s: %s; drawing the input unchanged", className().c_str(), problem_.c_str());
    reported_ = problem_;
    storeProperty("domainMin", domainMin_);
    storeProperty("domainMax", domainMax_);
}
