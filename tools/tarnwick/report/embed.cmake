# Writes the files of the page into a C++ source: cmake -DFOLDER=... -DOUTPUT=... "-DSCRIPTS=a.js b.js" -P embed.cmake
# Each file is one literal, because compilers limit the size of literals.

function(read_literal file variable)
    file(READ "${FOLDER}/${file}" text)
    set(${variable} "R\"embedded(${text})embedded\"" PARENT_SCOPE)
endfunction()

read_literal(style.css style)
read_literal(body.html body)
string(REPLACE " " ";" SCRIPTS "${SCRIPTS}")
set(scripts "")
foreach(script IN LISTS SCRIPTS)
    read_literal(${script} text)
    string(APPEND scripts "${text},\n")
endforeach()

file(WRITE "${OUTPUT}" "#include \"report/assets.h\"

namespace tarnwick::program {
namespace {

constexpr std::string_view embedded_scripts[] = {
${scripts}};

} // namespace

std::string_view const report_style = ${style};
std::string_view const report_body = ${body};
std::span<std::string_view const> const report_scripts = embedded_scripts;

} // namespace tarnwick::program
")
