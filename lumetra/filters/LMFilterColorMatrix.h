#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <vector>

// A 3 by 4 colour matrix, its twelve numbers row by row (m00, m01, m02, m03,
// m10, ..., m23): out_i = m_i0 r + m_i1 g + m_i2 b + m_i3, the fourth column
// added. The kernel reads it as mat4 lm_matrix (the fourth row unused); a
// list of another length uploads zeros. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterColorMatrix : public LMFilterClass<LMFilterColorMatrix, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    // The matrix as one mat4.
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override;

    // Unset: empty, and the filter draws with the identity.
    std::vector<double> matrix() const { return numbersProperty("matrix"); }
    void setMatrix(std::vector<double> matrix) { setProperty("matrix", std::move(matrix)); }
};
