#pragma once

#include "lumetra/graph/LMTableUniform.h"
#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// A colour lookup table from a .cube file, per pixel: the input, brought
// from the table's domain (DOMAIN_MIN...DOMAIN_MAX, clamped) to 0...1,
// looked up in the table (a 1D table channel by channel, a 3D table
// trilinearly), then mixed with the input by `strength`:
// out = in + strength × (table(in) − in). Table values are clamped to
// 0...1. The file is read when its path changes. A file that does not read
// is a configuration problem: the filter logs it once (the message names
// the file and line) and draws its input unchanged.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread (the file is read there); the filter's own GL steps run as one block on the context's GL queue.
class LMFilterLut : public LMFilterClass<LMFilterLut, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override;
    std::string configurationProblem() const override;
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;

    // The path of the .cube file; "" when none is set.
    std::string file() const;
    void setFile(std::string path) { setProperty("file", std::move(path)); }
    double strength() const { return numberProperty("strength").value_or(1); }
    void setStrength(std::optional<double> strength);

private:
    // Reads the file when its path is not the one read last.
    void readFileIfNeeded() const;

    std::shared_ptr<LMTableUniform> line_ = std::make_shared<LMTableUniform>("table1D", LMTableUniform::Shape::Line);
    std::shared_ptr<LMTableUniform> cube_ = std::make_shared<LMTableUniform>("table3D", LMTableUniform::Shape::Cube);
    mutable std::optional<std::string> readPath_;
    mutable std::string problem_;
    mutable std::vector<double> domainMin_{0, 0, 0}, domainMax_{1, 1, 1};
    std::string reported_;
};
