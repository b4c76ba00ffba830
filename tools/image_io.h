// Image files: PNG (through libpng) and the binary and plain forms of PBM, PGM and PPM. Gray files
// become gray pictures and colour files colour pictures; a PBM becomes a gray picture of black 0
// and white 255; 16-bit samples are reduced to 8 bits and alpha is dropped. Every failure is a ToolError(kExitFile) naming the file and the problem.
#ifndef KELMIRA_TOOL_IMAGE_IO_H
#define KELMIRA_TOOL_IMAGE_IO_H

#include <string>

#include "picture.h"

namespace ktool {

// The format is told by the file's first bytes, not by its name.
Picture ReadImage(const std::string& path);
// The format is told by the name: .png, .pbm (gray only; below 128 is black), .pgm (gray only),
// .ppm (colour; gray is widened), .pnm (PGM or PPM as the picture is).
void WriteImage(const Picture& picture, const std::string& path);

}  // namespace ktool

#endif  // KELMIRA_TOOL_IMAGE_IO_H
