#pragma once

#include "lumetra/graph/LMUniform.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A table of colours that a kernel samples, linearly filtered, as a uniform
// of its filter: a line of `size` entries (sampler1D lm_NAME) or a cube of
// size by size by size (sampler3D lm_NAME, red varying fastest, then green,
// then blue). Entries are red, green, blue floats, stored as 32-bit floats
// and clamped to the edge, so a lookup at (i + 0.5) / size returns entry i
// and values outside the table read its edge. Between entries the filtering
// is only as fine as the driver's weights (steps of 1/256 on some); a
// kernel that must be exact there fetches the entries (texelFetch) and
// mixes them itself, as the built-in ones do.
//
// The filter lists it among its uniforms and the filter's upload binds it to
// a texture unit after the inputs' units. Each context it is drawn with gets
// its own texture, uploaded on first use and again after each setTable, and
// deleted on that context's GL queue when the uniform goes. A new uniform
// holds the identity (two entries a side).
//
// Threads: setTable and the upload take the uniform's own lock; the upload
// runs on the context's GL queue, the destructor posts each texture's
// deletion to its context's queue and waits.
class LMTableUniform : public LMUniform {
public:
    enum class Shape { Line, Cube };

    LMTableUniform(std::string name, Shape shape);
    ~LMTableUniform() override;
    LMTableUniform(const LMTableUniform&) = delete;
    LMTableUniform& operator=(const LMTableUniform&) = delete;

    Shape shape() const { return shape_; }
    // The entries, three floats each: `size` of them for a line, size³ for a
    // cube. A list of another length (or a size under 2) sets the identity.
    void setTable(std::vector<float> entries, int size);
    // The identity table of `size` entries a side.
    void setIdentity(int size = 2);
    int size() const;

    std::string uniformString() const override;
    GLint textureUnitCount() const override { return 1; }
    void bindToLocationWithTextureUnit(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context,
                                       GLint firstTextureUnit) override;

private:
    struct Uploaded {
        std::weak_ptr<LMContext> context;
        const LMContext* address = nullptr;
        GLuint texture = 0;
        unsigned version = 0;
    };

    Shape shape_;
    mutable std::mutex mutex_;
    std::vector<float> entries_;
    int size_ = 0;
    // Counts setTable calls; a context's texture is uploaded again when it
    // holds an older one.
    unsigned version_ = 0;
    std::vector<Uploaded> uploaded_;
};
