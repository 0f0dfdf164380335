# Writes OUTPUT, a source in which the bytes of the files stand.
#
#   cmake -D OUTPUT=page_files.cpp -D FOLDER=folder -D FILES=index.html,style.css -P embed.cmake
string(REPLACE "," ";" names "${FILES}")
set(texts "")
set(rows "")
foreach(name IN LISTS names)
    string(MAKE_C_IDENTIFIER "${name}" identifier)
    file(READ "${FOLDER}/${name}" digits HEX)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${digits}")
    string(APPEND texts "constexpr char ${identifier}[] = {${bytes}};\n")
    string(APPEND rows "    {\"${name}\", {${identifier}, sizeof ${identifier}}},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"frontend/web/page/page_files.h\"

namespace {

${texts}
constexpr PageFile PAGE_FILES[] = {
${rows}};

} // namespace

std::span<const PageFile> pageFiles() {
    return PAGE_FILES;
}
")
