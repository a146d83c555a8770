#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Multiplies the input by the control, unclamped; an unset control is 0.
class LMFilterFader : public LMFilterClass<LMFilterFader, LMFilterSingleInput> {
public:
    std::string kernelSource() const override;
    std::vector<std::string> controlNames() const override { return {"control"}; }

    std::optional<double> control() const { return numberProperty("control"); }
    void setControl(std::optional<double> control);
};
