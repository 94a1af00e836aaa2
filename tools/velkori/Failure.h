#pragma once

#include "Remark.h"

#include <stdexcept>
#include <string>

namespace Velkori_Tool {

/** Why a command can't do its work: what is wrong, where, and what to do next. Ends the program with 1. */
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& text, Remedy help = Remedy::None)
        : std::runtime_error(text), remedy(help) {}

    Remark AsRemark() const { return {what(), remedy}; }

  private:
    Remedy remedy;
};

/** An option is said in a way that no input could make right. Ends the program with 2. */
class UsageFailure : public Failure {
  public:
    using Failure::Failure;
};

} // namespace Velkori_Tool
