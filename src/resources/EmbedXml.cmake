# Writes the bytes of the file INPUT into the C++ source OUTPUT: cmake -DINPUT=... -DOUTPUT=... -P EmbedXml.cmake
file(READ "${INPUT}" bytes HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n    " bytes "${bytes}")
get_filename_component(name "${INPUT}" NAME)
file(WRITE "${OUTPUT}" "// Made from ${name} by the build.
#include \"platform/linux/EmbeddedXml.h\"

namespace GenICam::Client::Platform {

const unsigned char kEmbeddedXml[] = {
    ${bytes}
};
const std::size_t kEmbeddedXmlSize = sizeof(kEmbeddedXml);

} // namespace GenICam::Client::Platform
")
