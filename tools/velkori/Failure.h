#pragma once

#include <stdexcept>

namespace Velkori_Tool {

/** Why a command can't do its work: what is wrong, where, and what to do next. Ends the program with 1. */
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

} // namespace Velkori_Tool
