# Writes the files of the page as a C++ source: cmake -DOUTPUT=... -DFILES=a;b -P EmbedPage.cmake.
# Files are cut into pieces because compilers limit the length of one literal.
set(piece_length 8000)
set(entries "")
foreach(file IN LISTS FILES)
    get_filename_component(name "${file}" NAME)
    get_filename_component(extension "${file}" LAST_EXT)
    if(extension STREQUAL ".html")
        set(type "text/html; charset=utf-8")
    elseif(extension STREQUAL ".css")
        set(type "text/css; charset=utf-8")
    elseif(extension STREQUAL ".js")
        set(type "text/javascript; charset=utf-8")
    elseif(extension STREQUAL ".svg")
        set(type "image/svg+xml")
    else()
        message(FATAL_ERROR "${file}: no media type is known for it")
    endif()
    set(path "/${name}")
    if(name STREQUAL "index.html")
        set(path "/")
    endif()
    file(READ "${file}" hex HEX)
    string(LENGTH "${hex}" length)
    set(literal "")
    set(at 0)
    while(at LESS length)
        string(SUBSTRING "${hex}" ${at} ${piece_length} piece)
        string(REGEX REPLACE "(..)" "\\\\x\\1" piece "${piece}")
        string(APPEND literal "\n        \"${piece}\"")
        math(EXPR at "${at} + ${piece_length}")
    endwhile()
    math(EXPR size "${length} / 2")
    string(APPEND entries
        "    {\"${path}\", \"${type}\",\n     std::string_view(${literal}, ${size})},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"sim/web/assets.h\"

namespace sim::web {

namespace {

constexpr Asset assets[] = {
${entries}};

} // namespace

const Asset *find_asset(std::string_view path) {
    for (const Asset &asset : assets) {
        if (asset.path == path)
            return &asset;
    }
    return nullptr;
}

} // namespace sim::web
")
