#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMFilterDeclaration.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/graph/LMScaler.h"
#include "lumetra/graph/LMUniform.h"
#include "lumetra/graph/LMVAOStateTextured.h"
#include "lumetra/graph/LMValue.h"
#include "lumetra/platform/LMSize.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <vector>

class LMContext;
class LMProgram;

// Whether a value may be drawn as an input with this context: false only for
// an image whose dimensions differ from the context's.
bool isCompatible(const LMValue& value, const std::shared_ptr<LMContext>& context);

// The base of every shader filter. A subclass supplies a GLSL kernel and the
// names of what it reads (input images, scalar controls, further uniforms);
// the filter declares them, wraps the kernel into a complete fragment shader
// compiled once per context and class, pulls its inputs, binds them to
// texture units in order, uploads every uniform and draws one quad into a
// leased image. With the context's caching on, an unchanged filter hands back
// its last image without any GL work.
//
// Inputs, controls and uniform values live in one property store read and
// written by name; typed accessors are views of it. Hosts make filters with
// the class constructors of LMFilterClass, which wrap them in their proxy;
// no other way of making one compiles (see LMFilterClass).
//
// Threads: a filter, like every node, is used by one thread at a time. Its
// draw pulls its inputs on the calling thread (a host's own node runs where
// the host called) and does its own GL work in one block on the context's
// GL queue.
class LMFilter : public LMDrawableCaching, public std::enable_shared_from_this<LMFilter> {
public:
    ~LMFilter() override;

    LMFilter(const LMFilter&) = delete;
    LMFilter& operator=(const LMFilter&) = delete;

    // Hooks a subclass overrides; each returns the same answer every time.
    // The GLSL body: defines main() and writes the vec3 lm_output.
    virtual std::string kernelSource() const;
    virtual std::vector<std::string> inputNames() const;
    virtual std::vector<std::string> controlNames() const;
    virtual std::vector<std::shared_ptr<LMUniform>> otherUniforms() const;
    virtual bool automaticallyCreatesContextDimensionsUniform() const;
    virtual bool automaticallyCreatesTargetDimensionsUniform() const;
    // The class's declaration of its parameters, when it has one (see
    // LMFilterDeclaration); LMFilterClass answers it for a class that
    // declares. Its Setting parameters are keys the filter knows and, through
    // the handle, setters that mark it.
    virtual const LMFilterDeclaration* filterDeclaration() const { return nullptr; }
    // Why the filter cannot draw as it is set up (a table file that does not
    // read, points that make no curve), or "" when it can. Such a filter logs
    // the reason once when drawn and draws what its class says instead; a
    // program that builds a graph from a user's words (the tool) asks every
    // filter before drawing and refuses with this message.
    virtual std::string configurationProblem() const { return ""; }
    // Whether the kernel reads each input only at lm_location (the
    // declaration says so): with the context's fusion on, a run of such
    // filters draws as one pass.
    virtual bool isPerPixel() const { return filterDeclaration() && filterDeclaration()->isPerPixel(); }
    // The name of the filter's class, for its programs and its log lines.
    virtual std::string className() const;
    // The key of the filter's program in a context's program cache: the
    // class name, with "#2", "#3", ... added for a second and later class
    // that prints the same name (classes of one name in different anonymous
    // namespaces or shared objects), so that they never share a program.
    std::string programKey() const;

    // Fills the stored lists and flags from the hooks; class constructors
    // call it once, right after construction.
    virtual void init();

    // Key-value access to inputs, controls, uniform values and any other
    // property a subclass keeps here. Through a filter handle the setter
    // marks the filter for any key. A key that is none of the filter's
    // inputs, controls or uniforms and that nothing stored before is stored
    // all the same, and logged once (a misspelt key would otherwise do
    // nothing, silently).
    LMValue valueForKey(std::string_view key) const;
    void setValueForKey(LMValue value, std::string_view key);

    // Drawing. A filter that is its own input, directly or through other
    // nodes, draws black where the cycle closes and logs so once.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;
    LMFilter* filterBehind() override { return this; }
    virtual std::shared_ptr<LMImage> validCachedOutputForContext(const std::shared_ptr<LMContext>& context);
    virtual void setCachedOutput(std::shared_ptr<LMImage> output);
    virtual std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context);
    virtual void drawInputsWithContext(const std::shared_ptr<LMContext>& context);
    virtual void updateVAOIfNeededForContext(const std::shared_ptr<LMContext>& context);
    virtual void preloadWithContext(const std::shared_ptr<LMContext>& context);
    // Whether the filter's program in this context compiled and linked (its
    // failure was logged); loads it first when needed.
    bool programIsUsableWithContext(const std::shared_ptr<LMContext>& context);
    virtual std::string preprocessedFragmentShaderSource() const;

    bool needsRedraw() const override { return needsRedraw_; }
    void setNeedsRedraw(bool needsRedraw) override { needsRedraw_ = needsRedraw; }
    // Asks every input that answers it, with no early stop; only ever sets.
    // Met again through a cycle, it answers its flag as it is.
    bool updateNeedsRedraw() override;

    // Output size and fitting. None of these marks the filter: a new size
    // makes the cached output unfit anyway.
    bool usesCustomOutputSize() const { return usesCustomOutputSize_; }
    virtual void setUsesCustomOutputSize(bool uses);
    LMSize customOutputSize() const { return customOutputSize_; }
    virtual void setCustomOutputSize(LMSize size);
    std::shared_ptr<LMScaler> scaler() const { return scaler_; }
    // Null sets the default, a new stretch scaler.
    virtual void setScaler(std::shared_ptr<LMScaler> scaler);
    // The size a draw makes now: the custom size when used, else the working size.
    LMSize outputSizeForContext(const LMContext& context) const;
    // The size the filter works at in place of its context's dimensions: the
    // size its input images must have, the size it draws at (unless a custom
    // output size is used), the input side of its scaler and the value of
    // lm_contextDimensions. Unset, the default, it is the context's
    // dimensions. A graph whose image changes size on the way (after a resize
    // or a crop) sets it on every filter downstream of the change. Like the
    // output size, setting it marks nothing: a new size makes the cached
    // output unfit anyway.
    std::optional<LMSize> workingSize() const { return workingSize_; }
    void setWorkingSize(std::optional<LMSize> size) { workingSize_ = size; }
    LMSize workingSizeForContext(const LMContext& context) const;

    // The lists read from the hooks at creation; the setters replace them.
    const std::vector<std::string>& storedInputNames() const { return inputNames_; }
    void setInputNames(std::vector<std::string> names);
    const std::vector<std::string>& storedControlNames() const { return controlNames_; }
    void setControlNames(std::vector<std::string> names);
    const std::vector<std::shared_ptr<LMUniform>>& storedOtherUniforms() const { return otherUniforms_; }
    void setOtherUniforms(std::vector<std::shared_ptr<LMUniform>> uniforms);

    bool shouldCreateContextDimensionsUniform() const { return shouldCreateContextDimensionsUniform_; }
    void setShouldCreateContextDimensionsUniform(bool should) { shouldCreateContextDimensionsUniform_ = should; }
    bool shouldCreateTargetDimensionsUniform() const { return shouldCreateTargetDimensionsUniform_; }
    void setShouldCreateTargetDimensionsUniform(bool should) { shouldCreateTargetDimensionsUniform_ = should; }

    std::shared_ptr<LMProgram> program() const { return program_.lock(); }
    std::shared_ptr<LMContext> lastUsedContext() const { return lastUsedContext_.lock(); }
    std::shared_ptr<LMImage> cachedOutput() const { return cachedOutput_; }
    std::shared_ptr<LMVAOStateTextured> vaoState() const { return vaoState_; }
    // The image each input was read as in the last draw: black for a missing
    // input, one that drew nothing, or an image of another size or context.
    std::shared_ptr<LMImage> inputValueForName(std::string_view name) const;
    bool programIsLoaded() const { return programIsLoaded_; }
    void setProgramIsLoaded(bool loaded) { programIsLoaded_ = loaded; }

    // "<ClassName: address>".
    virtual std::string description() const;

protected:
    LMFilter();

    // The demangled name of a type.
    static std::string nameOfType(const std::type_info& type);

    // Typed setters store through this: when the call came through the
    // filter's handle and has not marked yet, a watched key (its setter's
    // name is watched) marks the filter before it is stored, whatever the
    // call stored before it.
    void setProperty(std::string_view key, LMValue value);
    // Optional, for a method whose own name is not watched although it
    // stores a watched key (a setCenter that stores centerVector): called
    // first, with the method's setter name, it settles the handle's call
    // under that name, so that what it stores marks only if that name is
    // watched. Forgetting it costs a redraw, never a stale image.
    void announceSetter(std::string_view setterName);
    // For a subclass that draws in its own way (LMMultiPassFilter).
    void setLastUsedContext(const std::shared_ptr<LMContext>& context) { lastUsedContext_ = context; }
    // Stores without any marking: for the filter's own bookkeeping.
    void storeProperty(std::string_view key, LMValue value);

    // Declared settings, read as their declaration says: the stored value,
    // else the default. A number outside the declared range and a choice
    // that is not one of the declared ones read as the default, reported
    // once per key. Asking for an undeclared name is a
    // mistake of the filter's own code and reads as 0 or "".
    double numberSetting(std::string_view name) const;
    std::string choiceSetting(std::string_view name) const;
    bool flagSetting(std::string_view name) const { return numberSetting(name) != 0; }

    // Typed views of the store. A value of another kind reads as absent and
    // is reported once per key.
    std::shared_ptr<LMDrawable> drawableProperty(std::string_view key) const;
    std::optional<double> numberProperty(std::string_view key) const;
    std::vector<double> numbersProperty(std::string_view key) const;

private:
    // Draws runs of per-pixel filters as one pass: it reads and clears the
    // members' drawing state as each member's own draw would.
    friend class LMFusedRun;

    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view name) const { return std::hash<std::string_view>{}(name); }
    };
    // Implemented only by the final class that LMFilterClass's class
    // constructors make, so every filter class is abstract anywhere else:
    // `std::make_shared<LMFilterInvert>()` or a filter on the stack fails to
    // compile instead of skipping init() and drawing wrong pixels silently.
    virtual void madeByClassConstructor() = 0;

    void reportWrongKind(std::string_view key, const LMValue& value, const char* wanted) const;
    // "<class>: The value of <key> <problem>; treating it as absent", once per key.
    void reportOnce(std::string_view key, const std::string& problem) const;
    void rebuildUniformNames();
    // The GL half of a render, in one block on the queue: quad, lease,
    // program, uniforms, draw.
    std::shared_ptr<LMImage> renderWithContext(const std::shared_ptr<LMContext>& context, LMSize outputSize);
    void uploadUniforms(LMContext& context, LMProgram& program, LMSize outputSize);
    // The input of that name drawn for this filter: black when missing, of
    // another size or of another context (reported once).
    std::shared_ptr<LMImage> drawnInput(const std::string& name, const std::shared_ptr<LMContext>& context);
    void reportUnknownKey(std::string_view key);
    bool isDeclaredKey(std::string_view key) const;
    void releaseQuadState();

    std::vector<std::string> inputNames_;
    std::vector<std::string> controlNames_;
    std::vector<std::shared_ptr<LMUniform>> otherUniforms_;
    // "lm_" names of the above, made once rather than on every draw.
    std::vector<std::string> inputUniformNames_;
    std::vector<std::string> controlUniformNames_;
    std::vector<std::string> otherUniformNames_;
    // The declared defaults of the controls and uniforms, in the same order.
    std::vector<double> controlDefaults_;
    std::vector<LMValue> uniformDefaults_;

    std::unordered_map<std::string, LMValue, NameHash, std::equal_to<>> properties_;
    mutable std::unordered_map<std::string, bool, NameHash, std::equal_to<>> reportedKeys_;

    // Images of the last draw, in input order.
    std::vector<std::shared_ptr<LMImage>> inputValues_;
    bool shouldCreateContextDimensionsUniform_ = false;
    bool shouldCreateTargetDimensionsUniform_ = false;

    // The program of the context it was loaded in; looked up again when the
    // filter is drawn with another context.
    std::weak_ptr<LMProgram> program_;
    std::weak_ptr<LMContext> programContext_;
    std::weak_ptr<LMContext> lastUsedContext_;
    bool needsRedraw_ = true;
    std::shared_ptr<LMImage> cachedOutput_;
    std::shared_ptr<LMScaler> scaler_;
    bool usesCustomOutputSize_ = false;
    std::optional<LMSize> workingSize_;
    LMSize customOutputSize_{640, 480};
    // The filter's own quad and the context whose GL objects it holds.
    std::shared_ptr<LMVAOStateTextured> vaoState_;
    std::weak_ptr<LMContext> vaoStateContext_;
    bool programIsLoaded_ = false;
    // A filter met again while it is being drawn, or asked for its redraw
    // flag, is its own input: the graph is a cycle.
    bool drawing_ = false;
    bool askingInputs_ = false;
    bool cycleMet_ = false;
    bool reportedCycle_ = false;
    bool reportedDepth_ = false;
};
