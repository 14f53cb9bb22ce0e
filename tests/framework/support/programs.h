#pragma once

#include <string>
#include <vector>

namespace support {

// Runs a program with its output in /dev/null; a test failure unless it succeeds.
void run(const std::vector<std::string> &command);

// The same with its output returned.
std::string outputOf(const std::vector<std::string> &command);

// ImageMagick's convert, and ffmpeg.
void convert(const std::vector<std::string> &arguments);
void ffmpeg(const std::vector<std::string> &arguments);

// Makes a picture with soft shapes, edges and colours like those of a photograph.
void makePicture(const std::string &path, int width, int height,
                 const std::vector<std::string> &options = {});

// A program of this build as a word of a shell's command: in the environment QUILL_RUN names what
// runs programs of another architecture.
std::string commandOf(const std::string &program);

} // namespace support
