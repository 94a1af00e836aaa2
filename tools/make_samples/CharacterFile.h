#pragma once

#include "Rig.h"

#include <string>

// A character's rig with a simple mesh around its bones, as the bytes of a binary glTF file.
std::string MakeCharacterFile(const Rig& rig);
