#pragma once

#include <functional>
#include <span>
#include <string>

namespace Velkori_Tool {

/**
 * Makes a file whole or not at all: `write` gets the path of a file beside the wanted one, which takes the
 * wanted name once it is complete. A link is followed, and what isn't a plain file, such as a pipe, is
 * written to as it stands. Throws Failure, with the path, if the file can't be written or `write` throws one;
 * what stood at the path before then still stands there.
 */
void WriteFileWhole(const std::string& path, const std::function<void(const std::string&)>& write);

/** Writes a text to a file. Throws Failure, without the path, if that can't be done. */
void WriteText(const std::string& path, const std::string& text);

/** Writes a text whole or not at all; the path "-" is standard output. */
void WriteTextFile(const std::string& path, const std::string& text);

/**
 * Throws Failure if a file at this path couldn't be written: to be told before the work and not after it.
 * Throws UsageFailure if the path is that of a file that the command reads, which the result would replace.
 */
void CheckWritable(const std::string& path, std::span<const std::string> inputs);

/** Throws Failure if there is no file at this path that could be read. */
void CheckReadable(const std::string& path);

/** The whole content of a file. Throws Failure if it can't be read. */
std::string ReadTextFile(const std::string& path);

/** The path's extension in lower case, with its dot: ".bvh". */
std::string LowerCaseExtension(const std::string& path);

} // namespace Velkori_Tool
