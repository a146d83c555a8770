#include "lumetra/graph/LMFilter.h"

#include "lumetra/graph/LMFusedRun.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMCycleGuard.h"
#include "lumetra/graph/LMGraphDepth.h"
#include "lumetra/graph/LMImageClearing.h"
#include "lumetra/graph/LMProxyCallScope.h"
#include "lumetra/graph/LMReleaseLater.h"
#include "lumetra/graph/LMScalerStretch.h"
#include "lumetra/graph/LMWatchedSetters.h"
#include "lumetra/platform/LMLog.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <map>
#include <mutex>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace {

bool isCompatibleDrawable(const std::shared_ptr<LMDrawable>& drawable, LMSize size)
{
    const auto* image = dynamic_cast<const LMImage*>(drawable.get());
    return !image || image->dimensions() == size;
}

// The classes seen so far under each printed name, in the order first seen.
// Process-wide, because a context's programs are shared by every filter of
// the process; looked up only when a filter loads its program.
std::string uniqueProgramKey(const std::string& name, std::type_index type)
{
    static std::mutex mutex;
    static std::map<std::string, std::vector<std::type_index>, std::less<>> classesByName;
    std::lock_guard<std::mutex> lock(mutex);
    std::vector<std::type_index>& classes = classesByName[name];
    size_t index = 0;
    while (index < classes.size() && classes[index] != type)
        ++index;
    if (index == classes.size())
        classes.push_back(type);
    return index == 0 ? name : name + "#" + std::to_string(index + 1);
}

} // namespace

bool isCompatible(const LMValue& value, const std::shared_ptr<LMContext>& context)
{
    const std::shared_ptr<LMDrawable> drawable = value.drawable();
    return !drawable || !context || isCompatibleDrawable(drawable, context->dimensions());
}

LMFilter::LMFilter() : scaler_(std::make_shared<LMScalerStretch>())
{}

LMFilter::~LMFilter()
{
    releaseQuadState();
    // The nodes this filter held go one at a time, not each inside the
    // destructor of the one before: a long chain would overflow the stack.
    for (auto& [key, value] : properties_) {
        if (value.isDrawable()) {
            std::shared_ptr<const void> node = value.drawable();
            value = LMValue();
            LMReleaseLater(std::move(node));
        }
    }
}

std::string LMFilter::nameOfType(const std::type_info& type)
{
    int status = 0;
    char* demangled = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
    std::string name = status == 0 && demangled ? demangled : type.name();
    std::free(demangled);
    return name;
}

// Hooks

std::string LMFilter::kernelSource() const
{
    return "void main() {    lm_output = vec3(0.0, 0.0, 0.0); } ";
}

std::vector<std::string> LMFilter::inputNames() const
{
    return {};
}

std::vector<std::string> LMFilter::controlNames() const
{
    return {};
}

std::vector<std::shared_ptr<LMUniform>> LMFilter::otherUniforms() const
{
    return {};
}

bool LMFilter::automaticallyCreatesContextDimensionsUniform() const
{
    return false;
}

bool LMFilter::automaticallyCreatesTargetDimensionsUniform() const
{
    return false;
}

std::string LMFilter::className() const
{
    // The dynamic type, so that no subclass has to spell its own name.
    return nameOfType(typeid(*this));
}

std::string LMFilter::programKey() const
{
    return uniqueProgramKey(className(), std::type_index(typeid(*this)));
}

void LMFilter::init()
{
    inputNames_ = inputNames();
    controlNames_ = controlNames();
    otherUniforms_ = otherUniforms();
    rebuildUniformNames();
    needsRedraw_ = true;
    shouldCreateContextDimensionsUniform_ = automaticallyCreatesContextDimensionsUniform();
    shouldCreateTargetDimensionsUniform_ = automaticallyCreatesTargetDimensionsUniform();
    scaler_ = std::make_shared<LMScalerStretch>();
    usesCustomOutputSize_ = false;
    vaoState_.reset();
    customOutputSize_ = {640, 480};
}

void LMFilter::setInputNames(std::vector<std::string> names)
{
    inputNames_ = std::move(names);
    rebuildUniformNames();
}

void LMFilter::setControlNames(std::vector<std::string> names)
{
    controlNames_ = std::move(names);
    rebuildUniformNames();
}

void LMFilter::setOtherUniforms(std::vector<std::shared_ptr<LMUniform>> uniforms)
{
    otherUniforms_ = std::move(uniforms);
    rebuildUniformNames();
}

void LMFilter::rebuildUniformNames()
{
    inputUniformNames_.clear();
    for (const std::string& name : inputNames_)
        inputUniformNames_.push_back(uniformName(name));
    controlUniformNames_.clear();
    for (const std::string& name : controlNames_)
        controlUniformNames_.push_back(uniformName(name));
    otherUniformNames_.clear();
    for (const auto& uniform : otherUniforms_)
        otherUniformNames_.push_back(uniform ? uniformName(uniform->name()) : std::string());
    inputValues_.assign(inputNames_.size(), nullptr);

    // What an unset control or uniform uploads: its declared default, else
    // nothing (a control then reads 0, a uniform zeros).
    const LMFilterDeclaration* declaration = filterDeclaration();
    auto declaredDefault = [declaration](const std::string& name) {
        const LMParameter* parameter = declaration ? declaration->parameterNamed(name) : nullptr;
        return parameter ? parameter->defaultValue : LMValue();
    };
    controlDefaults_.clear();
    for (const std::string& name : controlNames_) {
        const LMValue fallback = declaredDefault(name);
        controlDefaults_.push_back(fallback.number() ? *fallback.number() : 0.0);
    }
    uniformDefaults_.clear();
    for (const auto& uniform : otherUniforms_)
        uniformDefaults_.push_back(uniform ? declaredDefault(uniform->name()) : LMValue());
}

// The property store

LMValue LMFilter::valueForKey(std::string_view key) const
{
    auto value = properties_.find(key);
    return value == properties_.end() ? LMValue() : value->second;
}

void LMFilter::setValueForKey(LMValue value, std::string_view key)
{
    if (const std::vector<std::string>* watched = LMProxyCallScope::claim(this))
        markTargetIfSelectorIsWatchedMethod(this, "setValue:forKey:", *watched);
    if (!isDeclaredKey(key) && properties_.find(key) == properties_.end())
        reportUnknownKey(key);
    storeProperty(key, std::move(value));
}

void LMFilter::setProperty(std::string_view key, LMValue value)
{
    // The handle cannot say which member it reached; the first watched key
    // that the call stores names it (a setter that first stores a counter or
    // a derived value is still a setter of its control).
    if (const std::vector<std::string>* watched = LMProxyCallScope::undecided(this)) {
        const std::string setter = setterNameForKey(key);
        if (isWatchedSetter(setter, *watched)) {
            LMProxyCallScope::claim(this);
            markTargetIfSelectorIsWatchedMethod(this, setter, *watched);
        }
    }
    storeProperty(key, std::move(value));
}

void LMFilter::announceSetter(std::string_view setterName)
{
    if (const std::vector<std::string>* watched = LMProxyCallScope::claim(this))
        markTargetIfSelectorIsWatchedMethod(this, setterName, *watched);
}

void LMFilter::storeProperty(std::string_view key, LMValue value)
{
    auto existing = properties_.find(key);
    if (existing != properties_.end())
        existing->second = std::move(value);
    else
        properties_.emplace(std::string(key), std::move(value));
}

bool LMFilter::isDeclaredKey(std::string_view key) const
{
    for (const std::string& name : inputNames_) {
        if (name == key)
            return true;
    }
    for (const std::string& name : controlNames_) {
        if (name == key)
            return true;
    }
    for (const auto& uniform : otherUniforms_) {
        if (uniform && uniform->name() == key)
            return true;
    }
    const LMFilterDeclaration* declaration = filterDeclaration();
    return declaration && declaration->parameterNamed(key);
}

void LMFilter::reportUnknownKey(std::string_view key)
{
    // Its own entry in the once-per-key table, apart from the kinds of value.
    auto [entry, first] = reportedKeys_.emplace("setValueForKey " + std::string(key), true);
    if (!first)
        return;
    // Declared names in their order, then whatever else was stored, sorted.
    std::vector<std::string> known(inputNames_.begin(), inputNames_.end());
    known.insert(known.end(), controlNames_.begin(), controlNames_.end());
    for (const auto& uniform : otherUniforms_) {
        if (uniform)
            known.push_back(uniform->name());
    }
    if (const LMFilterDeclaration* declaration = filterDeclaration()) {
        for (const std::string& name : declaration->namesWithRole(LMParameter::Role::Setting))
            known.push_back(name);
    }
    const auto declared = static_cast<std::ptrdiff_t>(known.size());
    for (const auto& [name, value] : properties_) {
        if (!isDeclaredKey(name))
            known.push_back(name);
    }
    std::sort(known.begin() + declared, known.end());
    std::string list;
    for (const std::string& name : known)
        list.append(list.empty() ? "" : ", ").append(name);
    LMLog("%s: No input, control or uniform is named %.*s; it is stored, but the filter knows only: %s",
          className().c_str(), static_cast<int>(key.size()), key.data(), list.empty() ? "(nothing)" : list.c_str());
}

void LMFilter::reportWrongKind(std::string_view key, const LMValue& value, const char* wanted) const
{
    reportOnce(key, "is " + std::string(value.kindDescription()) + ", not " + wanted);
}

void LMFilter::reportOnce(std::string_view key, const std::string& problem) const
{
    auto [entry, first] = reportedKeys_.emplace(std::string(key), true);
    if (first)
        LMLog("%s: The value of %.*s %s; treating it as absent", className().c_str(), static_cast<int>(key.size()),
              key.data(), problem.c_str());
}

std::shared_ptr<LMDrawable> LMFilter::drawableProperty(std::string_view key) const
{
    auto value = properties_.find(key);
    if (value == properties_.end() || value->second.isNone())
        return nullptr;
    if (!value->second.isDrawable())
        reportWrongKind(key, value->second, "a drawable");
    return value->second.drawable();
}

std::optional<double> LMFilter::numberProperty(std::string_view key) const
{
    auto value = properties_.find(key);
    if (value == properties_.end() || value->second.isNone())
        return std::nullopt;
    if (const double* number = value->second.number())
        return *number;
    reportWrongKind(key, value->second, "a number");
    return std::nullopt;
}

std::vector<double> LMFilter::numbersProperty(std::string_view key) const
{
    auto value = properties_.find(key);
    if (value == properties_.end() || value->second.isNone())
        return {};
    if (const std::vector<double>* numbers = value->second.numbers())
        return *numbers;
    reportWrongKind(key, value->second, "a list of numbers");
    return {};
}

double LMFilter::numberSetting(std::string_view name) const
{
    const LMFilterDeclaration* declaration = filterDeclaration();
    const LMParameter* parameter = declaration ? declaration->parameterNamed(name) : nullptr;
    if (!parameter)
        return 0;
    const double fallback = parameter->defaultValue.number() ? *parameter->defaultValue.number() : 0;
    const double value = numberProperty(name).value_or(fallback);
    if (std::string problem = parameter->problemWithNumber(value); !problem.empty()) {
        // Absent means the default here.
        reportOnce(name, "is " + LMParameter::numberText(value) + ", which " + problem);
        return fallback;
    }
    return value;
}

std::string LMFilter::choiceSetting(std::string_view name) const
{
    const LMFilterDeclaration* declaration = filterDeclaration();
    const LMParameter* parameter = declaration ? declaration->parameterNamed(name) : nullptr;
    if (!parameter)
        return "";
    const std::string fallback = parameter->defaultText();
    auto stored = properties_.find(name);
    if (stored == properties_.end() || stored->second.isNone())
        return fallback;
    const std::string* text = stored->second.string();
    if (!text) {
        reportWrongKind(name, stored->second, "a string");
        return fallback;
    }
    if (std::find(parameter->choices.begin(), parameter->choices.end(), *text) == parameter->choices.end()) {
        reportOnce(name, "is \"" + *text + "\", not " + parameter->typeDescription());
        return fallback;
    }
    return *text;
}

// Shader assembly and program loading

std::string LMFilter::preprocessedFragmentShaderSource() const
{
    std::string declarations = "noperspective in vec2 lm_location;out vec3 lm_output;";
    for (const std::string& name : inputNames_)
        declarations += "uniform sampler2DRect " + uniformName(name) + ";";
    for (const std::string& name : controlNames_)
        declarations += "uniform float " + uniformName(name) + ";";
    for (const auto& uniform : otherUniforms_) {
        if (uniform)
            declarations += uniform->uniformString();
    }
    if (shouldCreateContextDimensionsUniform_)
        declarations += "uniform vec2 lm_contextDimensions; ";
    if (shouldCreateTargetDimensionsUniform_)
        declarations += "uniform vec2 lm_targetDimensions; ";
    declarations += "uniform mat3 lm_inputTransform; ";
    declarations += "vec2 lm_toInputCoords(vec2 ocoords) { return (lm_inputTransform * vec3(ocoords.x, ocoords.y, "
                    "1.0)).st; }";
    return "#version 150 \n" + declarations + " \n" + kernelSource();
}

void LMFilter::preloadWithContext(const std::shared_ptr<LMContext>& context)
{
    lastUsedContext_ = context;
    if (!context)
        return;
    // One program per class in each context: a filter drawn with a second
    // living context takes (or makes) that context's program.
    if (!program_.expired() && programContext_.lock() == context)
        return;

    const std::string key = programKey();
    std::shared_ptr<LMProgram> program = context->getProgramWithName(key);
    if (!program)
        program = context->createProgramWithName(key, preprocessedFragmentShaderSource().c_str(), className());
    program_ = program;
    programContext_ = context;
}

bool LMFilter::programIsUsableWithContext(const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return false;
    context->executeOpenGL([&] { preloadWithContext(context); });
    const std::shared_ptr<LMProgram> program = program_.lock();
    return program && programContext_.lock() == context && program->isLinked();
}

// Drawing

LMSize LMFilter::outputSizeForContext(const LMContext& context) const
{
    return usesCustomOutputSize_ ? customOutputSize_ : workingSizeForContext(context);
}

LMSize LMFilter::workingSizeForContext(const LMContext& context) const
{
    return workingSize_.value_or(context.dimensions());
}

std::shared_ptr<LMImage> LMFilter::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    // Drawing through the handle is not a setter: whatever the draw stores
    // on the filter marks nothing.
    LMProxyCallScope::claim(this);
    // A context whose GL context could not be made draws nothing, inputs
    // included.
    if (!context || !context->hasOpenGLContext())
        return nullptr;
    // Met again inside its own draw, the filter is its own input: there it
    // reads as black, and the draw where the cycle closes gives black.
    if (drawing_) {
        cycleMet_ = true;
        return blackImageWithContext(context);
    }
    if (validCachedOutputForContext(context))
        return cachedOutput_;
    // An input's draw may run host code that lets go of this filter's last
    // owner; it lives until its own draw is done.
    const std::shared_ptr<LMFilter> keepAlive = weak_from_this().lock();
    const LMGraphDepth depth;
    if (depth.tooDeep()) {
        if (!std::exchange(reportedDepth_, true))
            LMLog("LMFilter: The graph is more than %d nodes deep at %s; drawing black", LMGraphDepth::maximumDepth,
                  description().c_str());
        // Not cached: drawn from nearer the root, the filter draws properly.
        return blackImageWithContext(context);
    }

    // Loading the program is part of the render's one trip to the queue.
    std::shared_ptr<LMImage> output;
    {
        LMCycleGuard guard(drawing_);
        cycleMet_ = false;
        output = applyProgramWithContext(context);
    }
    if (cycleMet_) {
        if (!std::exchange(reportedCycle_, true))
            LMLog("LMFilter: The graph has a cycle through %s; drawing black", description().c_str());
        output = blackImageWithContext(context);
    }
    setCachedOutput(std::move(output));
    return cachedOutput_;
}

std::shared_ptr<LMImage> LMFilter::validCachedOutputForContext(const std::shared_ptr<LMContext>& context)
{
    if (!context || !context->cachingEnabled() || needsRedraw_ || !cachedOutput_)
        return nullptr;
    if (cachedOutput_->context() != context)
        return nullptr;
    if (!(cachedOutput_->dimensions() == outputSizeForContext(*context)))
        return nullptr;
    return cachedOutput_;
}

void LMFilter::setCachedOutput(std::shared_ptr<LMImage> output)
{
    cachedOutput_ = std::move(output);
    needsRedraw_ = false;
}

void LMFilter::drawInputsWithContext(const std::shared_ptr<LMContext>& context)
{
    // Filled aside and stored at the end: an input's draw may run host code
    // that changes this filter's input names.
    std::vector<std::shared_ptr<LMImage>> values(inputNames_.size());
    for (size_t i = 0; i < values.size() && i < inputNames_.size(); ++i)
        values[i] = drawnInput(inputNames_[i], context);
    inputValues_ = std::move(values);
}

std::shared_ptr<LMImage> LMFilter::drawnInput(const std::string& name, const std::shared_ptr<LMContext>& context)
{
    const std::shared_ptr<LMDrawable> input = drawableProperty(name);
    std::shared_ptr<LMImage> image;
    if (input && !isCompatibleDrawable(input, workingSizeForContext(*context)))
        reportOnce(name, "is an image of another size");
    else if (input)
        image = input->drawWithContext(context);
    // The texture of another context's image (or of one whose context
    // has gone) names nothing here, or something else.
    if (image && image->context() != context) {
        reportOnce(name, "is an image of another context");
        image = nullptr;
    }
    // A missing input, one that drew nothing and one refused above read
    // as black: an unbound texture unit would sample what it held before.
    return image ? image : blackImageWithContext(context);
}

std::shared_ptr<LMImage> LMFilter::inputValueForName(std::string_view name) const
{
    for (size_t i = 0; i < inputNames_.size() && i < inputValues_.size(); ++i) {
        if (inputNames_[i] == name)
            return inputValues_[i];
    }
    return nullptr;
}

void LMFilter::updateVAOIfNeededForContext(const std::shared_ptr<LMContext>& context)
{
    const LMSize workingSize = workingSizeForContext(*context);
    if (!usesCustomOutputSize_ && workingSize == context->dimensions()) {
        context->bindToSharedVAO();
        return;
    }
    // Vertex arrays belong to one GL context: a quad made for another
    // context is let go there and made anew here.
    if (vaoState_ && vaoStateContext_.lock() != context && vaoState_->hasExistingVAO()) {
        releaseQuadState();
        vaoState_.reset();
    }
    if (!vaoState_) {
        vaoState_ = std::make_shared<LMVAOStateTextured>();
        vaoState_->setScaler(scaler_);
        vaoState_->setOutputDims(customOutputSize_);
    }
    vaoStateContext_ = context;

    context->executeOpenGLNoContextSwitch([&] {
        vaoState_->setInputDims(workingSize);
        vaoState_->setOutputDims(outputSizeForContext(*context));
        vaoState_->update(*context->gl());
        vaoState_->bindVAO(*context->gl());
    });
}

void LMFilter::releaseQuadState()
{
    if (!vaoState_)
        return;
    if (std::shared_ptr<LMContext> owner = vaoStateContext_.lock()) {
        std::shared_ptr<LMVAOStateTextured> state = vaoState_;
        owner->executeOpenGL([&] { state->cleanup(); });
    }
}

void LMFilter::prepareToDraw(const std::shared_ptr<LMContext>&)
{}

std::shared_ptr<LMImage> LMFilter::applyProgramWithContext(const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return nullptr;
    lastUsedContext_ = context;
    prepareToDraw(context);
    // A run of per-pixel filters ending here may draw as one pass.
    if (context->fusionEnabled() && !usesCustomOutputSize_ && isPerPixel()) {
        if (std::shared_ptr<LMImage> fused = LMFusedRun::draw(*this, context))
            return fused;
    }
    const LMSize outputSize = outputSizeForContext(*context);

    // Inputs draw first, on the calling thread: an input may be a host's own
    // node, which must run where the host called (it may hold the host's
    // locks). Their draws may bind what they like.
    drawInputsWithContext(context);

    // The filter's own steps are one trip to the GL queue; each step's own
    // submission runs there at once.
    std::shared_ptr<LMImage> output;
    context->executeOwnOpenGL([&] {
        preloadWithContext(context);
        output = renderWithContext(context, outputSize);
    });
    return output;
}

std::shared_ptr<LMImage> LMFilter::renderWithContext(const std::shared_ptr<LMContext>& context, LMSize outputSize)
{
    updateVAOIfNeededForContext(context);

    std::shared_ptr<LMProgram> program = program_.lock();
    if (!program)
        return nullptr;

    std::shared_ptr<LMImage> output = leaseBoundImage(context, outputSize);
    if (!output)
        return nullptr;

    // A program that failed to link cannot be used (GL would keep the
    // previous one); its failure was logged, and the output is black.
    if (!program->isLinked()) {
        clearBoundTarget(*context, LMRGBA::blackColor());
        return output;
    }
    context->executeOpenGLNoContextSwitch([&] { program->useProgram(); });

    uploadUniforms(*context, *program, outputSize);
    context->executeOpenGLNoContextSwitch([] { glDrawArrays(GL_TRIANGLE_STRIP, 0, 4); });
    return output;
}

void LMFilter::uploadUniforms(LMContext& context, LMProgram& program, LMSize outputSize)
{
    const std::shared_ptr<LMContext> owner = context.shared_from_this();
    context.executeOpenGLNoContextSwitch([&] {
        // The n-th input always uses texture unit n - 1, drawn or not. The
        // names may have changed during the inputs' draws.
        const size_t inputs = std::min(inputValues_.size(), inputUniformNames_.size());
        for (size_t unit = 0; unit < inputs; ++unit) {
            const std::shared_ptr<LMImage>& image = inputValues_[unit];
            if (!image)
                continue;
            context.gl()->setActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glBindTexture(GL_TEXTURE_RECTANGLE, image->texture());
            glUniform1i(program.uniformLocation(inputUniformNames_[unit]), static_cast<GLint>(unit));
        }

        for (size_t i = 0; i < controlNames_.size(); ++i) {
            const double value = numberProperty(controlNames_[i]).value_or(controlDefaults_[i]);
            glUniform1f(program.uniformLocation(controlUniformNames_[i]), static_cast<GLfloat>(value));
        }

        // A uniform that samples a table of its own binds it to the units
        // after the inputs'.
        auto tableUnit = static_cast<GLint>(inputUniformNames_.size());
        for (size_t i = 0; i < otherUniforms_.size(); ++i) {
            if (!otherUniforms_[i])
                continue;
            const LMValue value = valueForKey(otherUniforms_[i]->name());
            otherUniforms_[i]->bindToLocationWithTextureUnit(program.uniformLocation(otherUniformNames_[i]),
                                                             value.isNone() ? uniformDefaults_[i] : value, owner,
                                                             tableUnit);
            tableUnit += otherUniforms_[i]->textureUnitCount();
        }

        const LMSize dimensions = workingSizeForContext(context);
        if (shouldCreateContextDimensionsUniform_)
            glUniform2f(program.uniformLocation("lm_contextDimensions"), static_cast<GLfloat>(dimensions.width),
                        static_cast<GLfloat>(dimensions.height));
        if (shouldCreateTargetDimensionsUniform_)
            glUniform2f(program.uniformLocation("lm_targetDimensions"), static_cast<GLfloat>(outputSize.width),
                        static_cast<GLfloat>(outputSize.height));

        // The scaler maps input pixels to output pixels; the kernel needs the
        // way back.
        LMAffineTransform transform;
        if (scaler_) {
            transform = scaler_->transformForInputSize(dimensions, outputSize);
            transform.invert();
        }
        const std::array<GLfloat, 9> matrix = {
            GLfloat(transform.m11), GLfloat(transform.m12), 0, GLfloat(transform.m21), GLfloat(transform.m22), 0,
            GLfloat(transform.tX),  GLfloat(transform.tY),  1,
        };
        glUniformMatrix3fv(program.uniformLocation("lm_inputTransform"), 1, GL_FALSE, matrix.data());
    });
}

bool LMFilter::updateNeedsRedraw()
{
    const LMGraphDepth depth;
    if (askingInputs_ || depth.tooDeep())
        return needsRedraw_;
    LMCycleGuard guard(askingInputs_);
    // By index: a host's node asked here may change the input names.
    for (size_t i = 0; i < inputNames_.size(); ++i) {
        const std::shared_ptr<LMDrawable> input = drawableProperty(inputNames_[i]);
        if (auto* caching = dynamic_cast<LMDrawableCaching*>(input.get())) {
            if (caching->updateNeedsRedraw())
                needsRedraw_ = true;
        }
    }
    return needsRedraw_;
}

void LMFilter::setUsesCustomOutputSize(bool uses)
{
    usesCustomOutputSize_ = uses;
    if (!uses)
        return;
    if (!vaoState_) {
        vaoState_ = std::make_shared<LMVAOStateTextured>();
        vaoState_->setScaler(scaler_);
    }
    vaoState_->setOutputDims(customOutputSize_);
}

void LMFilter::setCustomOutputSize(LMSize size)
{
    customOutputSize_ = size;
    if (vaoState_)
        vaoState_->setOutputDims(size);
}

void LMFilter::setScaler(std::shared_ptr<LMScaler> scaler)
{
    // Without a scaler a custom-size quad would cover nothing, and the output
    // would keep whatever its pooled target held.
    scaler_ = scaler ? std::move(scaler) : std::make_shared<LMScalerStretch>();
    if (vaoState_)
        vaoState_->setScaler(scaler_);
}

std::string LMFilter::description() const
{
    char address[32];
    std::snprintf(address, sizeof(address), "%p", static_cast<const void*>(this));
    // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about
    // "<" + std::string&&.
    std::string text = "<";
    text.append(className()).append(": ").append(address).append(">");
    return text;
}
