# Writes the bytes of the file INPUT into the C++ source OUTPUT, as the array NAME and the constant NAMESize of the
# namespace NAMESPACE, which the header HEADER declares. Three zeros that are not counted follow the bytes, so that
# whoever reads them in words may read the last word.
# cmake -DINPUT=... -DOUTPUT=... -DHEADER=... -DNAMESPACE=... -DNAME=... -P EmbedFile.cmake
file(READ "${INPUT}" bytes HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n    " bytes "${bytes}")
get_filename_component(file "${INPUT}" NAME)
file(WRITE "${OUTPUT}" "// Made from ${file} by the build.
#include \"${HEADER}\"

namespace ${NAMESPACE} {

const unsigned char ${NAME}[] = {
    ${bytes}
    0, 0, 0};
const std::size_t ${NAME}Size = sizeof(${NAME}) - 3;

} // namespace ${NAMESPACE}
")
