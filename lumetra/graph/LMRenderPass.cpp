#include "lumetra/graph/LMRenderPass.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMOpenGL.h"
#include "lumetra/context/LMProgram.h"
#include "lumetra/graph/LMImageClearing.h"
#include "lumetra/platform/LMRGBA.h"

void LMRenderPass::Uniforms::set(const char* name, double value)
{
    glUniform1f(program_.uniformLocation(name), static_cast<GLfloat>(value));
}

void LMRenderPass::Uniforms::set(const char* name, double x, double y)
{
    glUniform2f(program_.uniformLocation(name), static_cast<GLfloat>(x), static_cast<GLfloat>(y));
}

void LMRenderPass::Uniforms::set3(const char* name, double x, double y, double z)
{
    glUniform3f(program_.uniformLocation(name), static_cast<GLfloat>(x), static_cast<GLfloat>(y),
                static_cast<GLfloat>(z));
}

void LMRenderPass::Uniforms::setInteger(const char* name, int value)
{
    glUniform1i(program_.uniformLocation(name), value);
}

void LMRenderPass::Uniforms::setMatrix3(const char* name, const GLfloat* columns)
{
    glUniformMatrix3fv(program_.uniformLocation(name), 1, GL_FALSE, columns);
}

std::shared_ptr<LMProgram> LMRenderPass::programWithContext(LMContext& context, const std::string& programKey) const
{
    const std::string key = programKey + "/" + name_;
    if (std::shared_ptr<LMProgram> program = context.getProgramWithName(key))
        return program;
    return context.createProgramWithName(key, fragmentShaderSource().c_str(), key);
}

std::shared_ptr<LMImage> LMRenderPass::draw(const std::shared_ptr<LMContext>& context, const std::string& programKey,
                                            LMSize size,
                                            std::initializer_list<std::pair<const char*, const LMImage*>> samplers,
                                            const std::function<void(Uniforms&)>& uniforms) const
{
    std::shared_ptr<LMProgram> program = programWithContext(*context, programKey);
    if (!program)
        return nullptr;
    // The shared quad covers whatever viewport the target sets; the pass
    // reads its position from gl_FragCoord, not from the quad.
    context->bindToSharedVAO();
    std::shared_ptr<LMImage> output = leaseBoundImage(context, size);
    if (!output)
        return nullptr;
    if (!program->isLinked()) {
        clearBoundTarget(*context, LMRGBA::blackColor());
        return output;
    }
    context->executeOpenGLNoContextSwitch([&] {
        program->useProgram();
        GLint unit = 0;
        for (const auto& [name, image] : samplers) {
            context->gl()->setActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glBindTexture(GL_TEXTURE_RECTANGLE, image ? image->texture() : 0);
            glUniform1i(program->uniformLocation(name), unit);
            ++unit;
        }
        if (uniforms) {
            Uniforms setter(*program);
            uniforms(setter);
        }
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    });
    return output;
}
