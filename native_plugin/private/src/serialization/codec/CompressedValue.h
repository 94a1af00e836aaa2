#pragma once

#include "serialization/codec/Precision.h"

#include <array>
#include <cstdint>
#include <string>

namespace Velkori_Utility {

// A value of type T in one of four stored forms: S (Standard), H (High), M (Max) and D (Delta), whose fields
// are bitsS, bitsH, bitsM and bitsD wide. Only the form that the precision names means anything; the others
// stay zero.
//
// The flags say which of up to four components a form has. A form with all four begins with an index, which
// isn't counted in its width.
template <typename T, typename S, typename H, typename M, typename D, int bitsS, int bitsH, int bitsM,
    int bitsD, bool has0, bool has1, bool has2, bool has3>
class CompressedValue {
  public:
    static constexpr int ComponentCount = int{has0} + int{has1} + int{has2} + int{has3};

    using Components = std::array<std::uint32_t, ComponentCount>;

    // Zero in every field.
    explicit CompressedValue(Precision inPrecision) : precision(inPrecision) {}

    CompressedValue(Precision inPrecision, const T& value) : precision(inPrecision) {
        visit(*this, [&](auto& form) { form.compress(value); });
    }

    CompressedValue(const CompressedValue&) = default;
    CompressedValue& operator=(const CompressedValue&) = default;
    virtual ~CompressedValue() = default;

    static constexpr int getBits(Precision precision) {
        switch (precision) {
        case Precision::Delta:
            return bitsD;
        case Precision::High:
            return bitsH;
        case Precision::Max:
            return bitsM;
        default:
            return bitsS;
        }
    }

    int getBits() const { return getBits(precision); }

    Precision getPrecision() const { return precision; }

    T decompress() const {
        return visit(*this, [](const auto& form) { return form.decompress(); });
    }

    Components getComponents() const {
        return visit(*this, [](const auto& form) { return form.getComponents(); });
    }

    // Each component is cut to its field's width.
    void setComponents(const Components& components) {
        visit(*this, [&](auto& form) { form.setComponents(components); });
    }

    // As its fields stand, without the type's name.
    virtual std::string toString() const {
        const Components components = getComponents();
        std::string text(Velkori_Utility::toString(precision));
        text += '{' + std::to_string(getBits()) + "} ";
        for (std::size_t i = 0; i < components.size(); ++i) {
            const std::string number = std::to_string(components[i]);
            text += (i == 0 ? "" : ", ") + (has3 && i == 0 ? '[' + number + ']' : number);
        }
        return text;
    }

  private:
    template <typename Self, typename Visitor>
    static decltype(auto) visit(Self& self, const Visitor& visitor) {
        switch (self.precision) {
        case Precision::Delta:
            return visitor(self.delta);
        case Precision::High:
            return visitor(self.high);
        case Precision::Max:
            return visitor(self.max);
        default:
            return visitor(self.standard);
        }
    }

    Precision precision;
    S standard{};
    H high{};
    M max{};
    D delta{};
};

} // namespace Velkori_Utility
