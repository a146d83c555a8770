#include "lumetra/graph/LMFusedRun.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMProgram.h"
#include "lumetra/graph/LMCycleGuard.h"
#include "lumetra/graph/LMFilter.h"
#include "lumetra/graph/LMImageClearing.h"
#include "lumetra/platform/LMLog.h"

#include <array>
#include <cmath>
#include <map>
#include <sstream>

namespace {

// Where a member's input comes from: another member's result, or one of
// the run's outside inputs, sampled once.
struct Source {
    bool fromMember = false;
    size_t index = 0;
};

struct Member {
    LMFilter* filter = nullptr;
    std::vector<Source> inputs; // in the order of the filter's input names
    size_t kernel = 0; // which emitted kernel it calls
};

struct Outside {
    LMFilter* reader = nullptr; // the member whose input it is
    std::string name;
    std::shared_ptr<LMImage> image;
};

// A kernel as emitted: one per class and set of names, or one per member
// when its uniforms include samplers, which cannot be passed as globals.
struct Kernel {
    LMFilter* example = nullptr;
    std::string prefix; // "lm_kN_"
    bool perMember = false;
};

bool hasSamplerUniform(const LMFilter& filter)
{
    for (const auto& uniform : filter.storedOtherUniforms())
        if (uniform && uniform->uniformString().find("sampler") != std::string::npos)
            return true;
    return false;
}

// "uniform vec2 lm_centerVector; " → "vec2".
std::string uniformType(const LMUniform& uniform)
{
    std::istringstream words(uniform.uniformString());
    std::string keyword, type;
    words >> keyword >> type;
    return type;
}

// "uniform vec4 lm_matrix[3]; " → "[3]"; "" for a uniform that is no array.
std::string arraySuffix(const LMUniform& uniform)
{
    const std::string declaration = uniform.uniformString();
    const size_t open = declaration.find('['), close = declaration.find(']');
    return open != std::string::npos && close != std::string::npos && open < close
               ? declaration.substr(open, close - open + 1)
               : "";
}

std::string join(const std::vector<std::string>& names)
{
    std::string joined;
    for (const std::string& name : names)
        joined.append(name).append(",");
    return joined;
}

std::string kernelIdentity(LMFilter& filter)
{
    std::string identity =
        filter.programKey() + "{" + join(filter.storedInputNames()) + ";" + join(filter.storedControlNames()) + ";";
    for (const auto& uniform : filter.storedOtherUniforms())
        identity.append(uniform ? uniform->uniformString() : std::string("-")).append(",");
    return identity + "}";
}

class RunBuilder {
public:
    RunBuilder(LMFilter& root, const std::shared_ptr<LMContext>& context)
        : context_(context), size_(root.workingSizeForContext(*context))
    {
        add(root);
    }

    std::vector<Member> members;
    std::vector<Outside> outside;

    // The member drawing the filter, or null when the filter cannot join
    // (then it is an outside input).
    LMFilter* joinable(const std::shared_ptr<LMDrawable>& node) const
    {
        LMFilter* filter = node ? node->filterBehind() : nullptr;
        if (!filter || !filter->isPerPixel() || filter->usesCustomOutputSize() || LMFusedRun::isDrawing(*filter))
            return nullptr;
        if (!(filter->workingSizeForContext(*context_) == size_))
            return nullptr;
        return filter;
    }

private:
    // Adds the filter after its inputs; its index among the members.
    size_t add(LMFilter& filter)
    {
        if (auto known = indexOf_.find(&filter); known != indexOf_.end())
            return known->second;
        // Placed now so that a path back to it (a cycle) stops here.
        indexOf_[&filter] = SIZE_MAX;
        Member member;
        member.filter = &filter;
        for (const std::string& name : filter.storedInputNames()) {
            const std::shared_ptr<LMDrawable> input = LMFusedRun::inputNamed(filter, name);
            LMFilter* joined = joinable(input);
            const bool fits = joined && members.size() + pending_ + 1 < LMFusedRun::maximumMembers;
            if (fits && !indexOf_.count(joined)) {
                ++pending_;
                const size_t index = add(*joined);
                --pending_;
                member.inputs.push_back({true, index});
            } else if (fits && indexOf_[joined] != SIZE_MAX) {
                member.inputs.push_back({true, indexOf_[joined]});
            } else {
                member.inputs.push_back({false, outside.size()});
                outside.push_back({&filter, name, nullptr});
            }
        }
        members.push_back(std::move(member));
        indexOf_[&filter] = members.size() - 1;
        return members.size() - 1;
    }

    std::shared_ptr<LMContext> context_;
    LMSize size_;
    std::map<LMFilter*, size_t> indexOf_;
    size_t pending_ = 0;
};

std::string programKeyOf(const std::vector<Member>& members, const std::vector<Kernel>& kernels)
{
    std::string key = "lm_fused:";
    for (const Member& member : members) {
        key.append(std::to_string(member.kernel)).append("(");
        for (const Source& source : member.inputs)
            key.append(source.fromMember ? "m" : "o").append(std::to_string(source.index)).append(",");
        key.append(")");
    }
    key.append("|");
    for (const Kernel& kernel : kernels)
        key.append(kernelIdentity(*kernel.example)).append(kernel.perMember ? "*" : "");
    return key;
}

// The kernel's own text, its names mapped to the prefix's by the
// preprocessor, so the text is compiled as written.
std::string emittedKernel(LMFilter& filter, const std::string& prefix, const std::string& uniformPrefix)
{
    std::string text;
    std::vector<std::string> defined{"main", "lm_output", "texture"};
    text += "vec3 " + prefix + "output;\n";
    for (const std::string& name : filter.storedInputNames())
        text += "vec3 " + prefix + name + ";\n";
    for (const std::string& name : filter.storedControlNames())
        text += "float " + prefix + name + ";\n";
    for (const auto& uniform : filter.storedOtherUniforms()) {
        if (!uniform || uniformType(*uniform).find("sampler") != std::string::npos)
            continue;
        text += uniformType(*uniform) + " " + prefix + uniform->name() + arraySuffix(*uniform) + ";\n";
    }
    text +=
        "#define main " + prefix + "main\n#define lm_output " + prefix + "output\n#define texture lm_fusedTexture\n";
    auto define = [&](const std::string& name, const std::string& to) {
        text += "#define " + uniformName(name) + " " + to + "\n";
        defined.push_back(uniformName(name));
    };
    for (const std::string& name : filter.storedInputNames())
        define(name, prefix + name);
    for (const std::string& name : filter.storedControlNames())
        define(name, prefix + name);
    for (const auto& uniform : filter.storedOtherUniforms()) {
        if (!uniform)
            continue;
        const bool sampler = uniformType(*uniform).find("sampler") != std::string::npos;
        define(uniform->name(), (sampler ? uniformPrefix : prefix) + uniform->name());
    }
    text += "#line 0\n" + filter.kernelSource() + "\n";
    for (const std::string& name : defined)
        text += "#undef " + name + "\n";
    return text;
}

// How the generated main keeps a member's result.
enum class Keep {
    asIs,
    rounded, // to the nearest of a 16-bit target's 65535 steps
    clampedAndRounded, // to [0, 1] first, as the target would
};

// How each member's result is kept so that each member reads what it would
// read unfused, from a 16-bit target. The last as it is: its target rounds
// it. One whose result feeds only filters that pick among their inputs as
// it is too (rounding commutes with picking the largest value): those round
// instead, unless they too feed only pickers; and a picker whose inputs are
// all rounded results as it is, since its result is one of them. Clamping
// is left out where the member keeps the range of inputs that are within it
// (an outside input always is: every image is an 8- or 16-bit target or
// picture).
std::vector<Keep> keptResults(const std::vector<Member>& members)
{
    auto declared = [&](size_t m) { return members[m].filter->filterDeclaration(); };
    auto picks = [&](size_t m) { return declared(m) && declared(m)->isPickingAmongInputs(); };
    auto keepsRange = [&](size_t m) { return picks(m) || (declared(m) && declared(m)->isKeepingRange()); };
    std::vector<bool> feedsOnlyPickers(members.size(), true);
    for (size_t m = 0; m < members.size(); ++m)
        for (const Source& source : members[m].inputs)
            if (source.fromMember && !picks(m))
                feedsOnlyPickers[source.index] = false;
    std::vector<Keep> kept(members.size(), Keep::asIs);
    std::vector<bool> onLevels(members.size(), false), inRange(members.size(), false);
    for (size_t m = 0; m + 1 < members.size(); ++m) {
        bool inputsRounded = true, inputsInRange = true;
        for (const Source& source : members[m].inputs) {
            inputsRounded = inputsRounded && source.fromMember && onLevels[source.index];
            inputsInRange = inputsInRange && (!source.fromMember || inRange[source.index]);
        }
        inRange[m] = keepsRange(m) && inputsInRange;
        if (feedsOnlyPickers[m])
            continue;
        if (!(picks(m) && inputsRounded))
            kept[m] = inRange[m] ? Keep::rounded : Keep::clampedAndRounded;
        onLevels[m] = inRange[m] = true;
    }
    return kept;
}

std::string fusedSource(const std::vector<Member>& members, const std::vector<Kernel>& kernels, size_t outsideCount)
{
    // lm_location comes from the quad the run's last member would draw
    // with, so every member sees the location it would see unfused.
    std::string text = "#version 150\nnoperspective in vec2 lm_location;\nout vec3 lm_fused;\n"
                       "uniform vec2 lm_contextDimensions;\nuniform vec2 lm_targetDimensions;\n"
                       "uniform mat3 lm_inputTransform;\n"
                       "vec2 lm_toInputCoords(vec2 ocoords) { return (lm_inputTransform * vec3(ocoords.x, ocoords.y, "
                       "1.0)).st; }\n"
                       // A member reads its inputs only where it stands: the value is all there is to read.
                       "vec4 lm_fusedTexture(vec3 value, vec2 location) { return vec4(value, 1.0); }\n"
                       // A table a member samples is read as it would be.
                       "vec4 lm_fusedTexture(sampler1D s, float p) { return texture(s, p); }\n"
                       "vec4 lm_fusedTexture(sampler2D s, vec2 p) { return texture(s, p); }\n"
                       "vec4 lm_fusedTexture(sampler3D s, vec3 p) { return texture(s, p); }\n"
                       "vec4 lm_fusedTexture(sampler2DRect s, vec2 p) { return texture(s, p); }\n";
    for (size_t i = 0; i < outsideCount; ++i)
        text += "uniform sampler2DRect lm_outside" + std::to_string(i) + ";\n";
    for (size_t m = 0; m < members.size(); ++m) {
        const LMFilter& filter = *members[m].filter;
        const std::string stage = "lm_m" + std::to_string(m) + "_";
        for (const std::string& name : filter.storedControlNames())
            text += "uniform float " + stage + name + ";\n";
        for (const auto& uniform : filter.storedOtherUniforms())
            if (uniform)
                text +=
                    "uniform " + uniformType(*uniform) + " " + stage + uniform->name() + arraySuffix(*uniform) + ";\n";
    }
    for (size_t k = 0; k < kernels.size(); ++k) {
        if (kernels[k].perMember)
            continue;
        text += emittedKernel(*kernels[k].example, kernels[k].prefix, "");
    }
    for (size_t m = 0; m < members.size(); ++m) {
        const Kernel& kernel = kernels[members[m].kernel];
        if (kernel.perMember)
            text += emittedKernel(*members[m].filter, kernel.prefix, "lm_m" + std::to_string(m) + "_");
    }

    text += "void main() {\n";
    // Each outside input is read once, at the pixel's centre, as every
    // member reads its input; the draw reads it through the context's
    // nearest sampler where there is one (the same texel, edges clamped, for
    // less than a linear lookup costs, and less than texelFetch on llvmpipe).
    for (size_t i = 0; i < outsideCount; ++i)
        text +=
            "  vec3 lm_o" + std::to_string(i) + " = texture(lm_outside" + std::to_string(i) + ", lm_location).rgb;\n";
    const std::vector<Keep> kept = keptResults(members);
    for (size_t m = 0; m < members.size(); ++m) {
        const Member& member = members[m];
        const LMFilter& filter = *member.filter;
        const std::string& prefix = kernels[member.kernel].prefix;
        const std::string stage = "lm_m" + std::to_string(m) + "_";
        for (size_t i = 0; i < member.inputs.size(); ++i) {
            const Source& source = member.inputs[i];
            text += "  " + prefix + filter.storedInputNames()[i] + " = " + (source.fromMember ? "lm_v" : "lm_o") +
                    std::to_string(source.index) + ";\n";
        }
        for (const std::string& name : filter.storedControlNames())
            text += "  " + prefix + name + " = " + stage + name + ";\n";
        for (const auto& uniform : filter.storedOtherUniforms())
            if (uniform && uniformType(*uniform).find("sampler") == std::string::npos)
                text += "  " + prefix + uniform->name() + " = " + stage + uniform->name() + ";\n";
        text += "  " + prefix + "main();\n";
        // What a 16-bit target would have stored (the rounding matters
        // before a steep curve or a step), in the form GL reads it back.
        const std::string result = prefix + "output";
        text += "  vec3 lm_v" + std::to_string(m) + " = ";
        if (kept[m] == Keep::asIs)
            text += result + ";\n";
        else
            text += "roundEven(" + (kept[m] == Keep::rounded ? result : "clamp(" + result + ", 0.0, 1.0)") +
                    " * 65535.0) * (1.0 / 65535.0);\n";
    }
    text += "  lm_fused = lm_v" + std::to_string(members.size() - 1) + ";\n}\n";
    return text;
}

} // namespace

bool LMFusedRun::isDrawing(const LMFilter& filter)
{
    return filter.drawing_;
}

std::shared_ptr<LMDrawable> LMFusedRun::inputNamed(const LMFilter& filter, const std::string& name)
{
    return filter.drawableProperty(name);
}

std::shared_ptr<LMImage> LMFusedRun::draw(LMFilter& root, const std::shared_ptr<LMContext>& context)
{
    // At a working size of no whole number of pixels, each member's pixels
    // stand between its input's texel centres and every member resamples
    // what the one before it drew: no single pass gives that.
    const LMSize size = root.workingSizeForContext(*context);
    if (size.width != std::floor(size.width) || size.height != std::floor(size.height))
        return nullptr;
    RunBuilder run(root, context);
    // GL 3.2 promises 16 texture units to a fragment shader; a run reading
    // more outside images than that draws unfused.
    // Tables its members sample take units after the outside inputs'.
    size_t units = run.outside.size();
    for (const Member& member : run.members)
        for (const auto& uniform : member.filter->storedOtherUniforms())
            units += uniform ? size_t(uniform->textureUnitCount()) : 0;
    if (run.members.size() < 2 || units > maximumTextureUnits)
        return nullptr;
    // What the members' own draws would have set up first (the root's is done).
    for (Member& member : run.members)
        if (member.filter != &root)
            member.filter->prepareToDraw(context);
    std::vector<Member>& members = run.members;

    // Kernels: one per class and names, one per member where it must.
    std::vector<Kernel> kernels;
    std::map<std::string, size_t> kernelOf;
    for (Member& member : members) {
        if (hasSamplerUniform(*member.filter)) {
            member.kernel = kernels.size();
            kernels.push_back({member.filter, "lm_k" + std::to_string(kernels.size()) + "_", true});
            continue;
        }
        auto [found, added] = kernelOf.emplace(kernelIdentity(*member.filter), kernels.size());
        if (added)
            kernels.push_back({member.filter, "lm_k" + std::to_string(kernels.size()) + "_", false});
        member.kernel = found->second;
    }

    // The program first (once compiled, found in the cache without a trip to
    // the GL queue): a run whose program does not link draws as usual,
    // before any of its inputs is drawn.
    const std::string key = programKeyOf(members, kernels);
    std::shared_ptr<LMProgram> program = context->getProgramWithName(key);
    if (!program)
        context->executeOpenGL([&] {
            program = context->createProgramWithName(key, fusedSource(members, kernels, run.outside.size()).c_str(),
                                                     "fused run of " + root.className());
        });
    if (!program || !program->isLinked())
        return nullptr;

    // The outside inputs draw on the calling thread, as every input does,
    // while every member counts as drawing: a path back into the run is a
    // cycle, as it would be unfused.
    {
        std::vector<std::unique_ptr<LMCycleGuard>> guards;
        for (Member& member : members)
            if (member.filter != &root) {
                guards.push_back(std::make_unique<LMCycleGuard>(member.filter->drawing_));
                member.filter->cycleMet_ = false;
            }
        for (Outside& input : run.outside)
            input.image = input.reader->drawnInput(input.name, context);
        for (Member& member : members)
            if (member.filter->cycleMet_)
                root.cycleMet_ = true;
    }

    // The root's last output is about to be replaced: let go of it first, so
    // that the pool hands its target back for this draw. One target per run
    // stays in use instead of two, and it is still warm in the caches.
    root.cachedOutput_.reset();
    std::shared_ptr<LMImage> output;
    context->executeOwnOpenGL([&] {
        root.updateVAOIfNeededForContext(context);
        output = leaseBoundImage(context, size);
        if (!output)
            return;
        context->executeOpenGLNoContextSwitch([&] {
            program->useProgram();
            const GLuint nearest = context->gl()->nearestSampler();
            for (size_t i = 0; i < run.outside.size(); ++i) {
                context->gl()->setActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(i));
                glBindTexture(GL_TEXTURE_RECTANGLE, run.outside[i].image->texture());
                if (nearest != 0)
                    glBindSampler(static_cast<GLuint>(i), nearest);
                glUniform1i(program->uniformLocation("lm_outside" + std::to_string(i)), static_cast<GLint>(i));
            }
            auto tableUnit = static_cast<GLint>(run.outside.size());
            for (size_t m = 0; m < members.size(); ++m) {
                LMFilter& filter = *members[m].filter;
                const std::string stage = "lm_m" + std::to_string(m) + "_";
                for (size_t c = 0; c < filter.controlNames_.size(); ++c) {
                    const double value =
                        filter.numberProperty(filter.controlNames_[c]).value_or(filter.controlDefaults_[c]);
                    glUniform1f(program->uniformLocation(stage + filter.controlNames_[c]), static_cast<GLfloat>(value));
                }
                for (size_t u = 0; u < filter.otherUniforms_.size(); ++u) {
                    const auto& uniform = filter.otherUniforms_[u];
                    if (!uniform)
                        continue;
                    const LMValue value = filter.valueForKey(uniform->name());
                    uniform->bindToLocationWithTextureUnit(program->uniformLocation(stage + uniform->name()),
                                                           value.isNone() ? filter.uniformDefaults_[u] : value, context,
                                                           tableUnit);
                    tableUnit += uniform->textureUnitCount();
                }
            }
            glUniform2f(program->uniformLocation("lm_contextDimensions"), static_cast<GLfloat>(size.width),
                        static_cast<GLfloat>(size.height));
            glUniform2f(program->uniformLocation("lm_targetDimensions"), static_cast<GLfloat>(size.width),
                        static_cast<GLfloat>(size.height));
            const std::array<GLfloat, 9> identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
            glUniformMatrix3fv(program->uniformLocation("lm_inputTransform"), 1, GL_FALSE, identity.data());
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
            if (nearest != 0)
                for (size_t i = 0; i < run.outside.size(); ++i)
                    glBindSampler(static_cast<GLuint>(i), 0);
        });
    });

    // The members other than the root drew nothing of their own: their
    // marks are spent (as a draw would spend them) and they keep no output,
    // so a host that draws one of them directly gets it drawn anew.
    for (Member& member : members) {
        if (member.filter == &root)
            continue;
        member.filter->setCachedOutput(nullptr);
        member.filter->lastUsedContext_ = context;
    }
    return output;
}
