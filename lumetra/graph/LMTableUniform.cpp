#include "lumetra/graph/LMTableUniform.h"

#include "lumetra/context/LMContext.h"

#include <algorithm>
#include <cmath>

namespace {

GLenum targetOf(LMTableUniform::Shape shape)
{
    return shape == LMTableUniform::Shape::Line ? GL_TEXTURE_1D : GL_TEXTURE_3D;
}

// A line longer than the context's textures, resampled linearly to `length`
// entries (the table read at the same places a lookup would read it).
std::vector<float> resampledLine(const std::vector<float>& entries, int size, int length)
{
    std::vector<float> line(size_t(length) * 3);
    for (int i = 0; i < length; ++i) {
        const double at = double(i) * (size - 1) / (length - 1);
        const int below = std::min(int(at), size - 2);
        const double fraction = at - below;
        for (int c = 0; c < 3; ++c)
            line[size_t(i) * 3 + c] =
                float(entries[size_t(below) * 3 + c] * (1 - fraction) + entries[size_t(below + 1) * 3 + c] * fraction);
    }
    return line;
}

} // namespace

LMTableUniform::LMTableUniform(std::string name, Shape shape) : shape_(shape)
{
    setName(std::move(name));
    setIdentity();
}

LMTableUniform::~LMTableUniform()
{
    for (const Uploaded& uploaded : uploaded_) {
        if (std::shared_ptr<LMContext> context = uploaded.context.lock()) {
            const GLuint texture = uploaded.texture;
            context->executeOpenGL([texture] { glDeleteTextures(1, &texture); });
        }
    }
}

void LMTableUniform::setTable(std::vector<float> entries, int size)
{
    const size_t count = size < 2 ? 0 : shape_ == Shape::Line ? size_t(size) : size_t(size) * size * size;
    if (count == 0 || entries.size() != count * 3)
        return setIdentity();
    std::lock_guard<std::mutex> lock(mutex_);
    entries_ = std::move(entries);
    size_ = size;
    ++version_;
}

void LMTableUniform::setIdentity(int size)
{
    size = std::max(size, 2);
    std::vector<float> entries;
    const auto step = [&](int i) { return float(i) / float(size - 1); };
    if (shape_ == Shape::Line) {
        for (int i = 0; i < size; ++i)
            entries.insert(entries.end(), {step(i), step(i), step(i)});
    } else {
        for (int b = 0; b < size; ++b)
            for (int g = 0; g < size; ++g)
                for (int r = 0; r < size; ++r)
                    entries.insert(entries.end(), {step(r), step(g), step(b)});
    }
    std::lock_guard<std::mutex> lock(mutex_);
    entries_ = std::move(entries);
    size_ = size;
    ++version_;
}

int LMTableUniform::size() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return size_;
}

std::string LMTableUniform::uniformString() const
{
    return std::string("uniform ") + (shape_ == Shape::Line ? "sampler1D " : "sampler3D ") + uniformName(name()) + "; ";
}

void LMTableUniform::bindToLocationWithTextureUnit(GLint location, const LMValue&,
                                                   const std::shared_ptr<LMContext>& context, GLint firstTextureUnit)
{
    if (location < 0 || !context)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    // A context that has gone took its textures with it.
    std::erase_if(uploaded_, [](const Uploaded& uploaded) { return uploaded.context.expired(); });
    auto held = std::find_if(uploaded_.begin(), uploaded_.end(), [&](const Uploaded& uploaded) {
        return uploaded.address == context.get() && uploaded.context.lock() == context;
    });

    const GLenum target = targetOf(shape_);
    context->gl()->setActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(firstTextureUnit));
    if (held == uploaded_.end()) {
        Uploaded made{context, context.get(), 0, version_ - 1};
        glGenTextures(1, &made.texture);
        glBindTexture(target, made.texture);
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        for (GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
            glTexParameteri(target, wrap, GL_CLAMP_TO_EDGE);
        glTexParameteri(target, GL_TEXTURE_BASE_LEVEL, 0);
        glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, 0);
        uploaded_.push_back(made);
        held = uploaded_.end() - 1;
    } else {
        glBindTexture(target, held->texture);
    }

    if (held->version != version_) {
        if (shape_ == Shape::Cube) {
            glTexImage3D(target, 0, GL_RGB32F, size_, size_, size_, 0, GL_RGB, GL_FLOAT, entries_.data());
        } else if (const GLint longest = context->maxTextureSize(); longest >= 2 && size_ > longest) {
            const std::vector<float> line = resampledLine(entries_, size_, longest);
            glTexImage1D(target, 0, GL_RGB32F, longest, 0, GL_RGB, GL_FLOAT, line.data());
        } else {
            glTexImage1D(target, 0, GL_RGB32F, size_, 0, GL_RGB, GL_FLOAT, entries_.data());
        }
        held->version = version_;
    }
    glUniform1i(location, firstTextureUnit);
}
