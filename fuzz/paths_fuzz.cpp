// Paths in both widths: the parts join to the path again, and what is set may be part of it.
#include "fuzz/input.h"

namespace {

template <class Text>
void RequireParts(const Text& path) {
    constexpr std::size_t LONGEST_PART = 255, LONGEST_PATH = 259;
    const Text whole(path.c_str());
    Text drive, directory, name, extension, joined;
    path.SplitPath(&drive, &directory, &name, &extension);
    REQUIRE(drive.size() <= 2 && directory.size() <= LONGEST_PART);
    REQUIRE(name.size() <= LONGEST_PART && extension.size() <= LONGEST_PART);
    joined.MakePath(drive, directory, name, extension);
    REQUIRE(joined.size() <= LONGEST_PATH);
    REQUIRE(whole.size() > LONGEST_PART || joined == whole);
}

template <class Text>
void Try(FuzzedDataProvider& input) {
    using Char = typename Text::value_type;
    const auto start = input.ConsumeIntegral<std::size_t>();
    std::basic_string<Char> parts[4];
    for (auto& part : parts)
        part = TakeText<Char>(input, 300);
    Text path(TakeText<Char>(input, 600));
    RequireParts(path);
    const Text name(path.c_str() + start % (path.size() + 1));
    path.SetFilename(path.c_str() + start % (path.size() + 1));
    REQUIRE(path.ends_with(name));
    path.SetExtension(path.c_str());
    path.MakePath(parts[0], parts[1], parts[2], parts[3]);
    RequireParts(path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool())
        Try<String>(input);
    else
        Try<WString>(input);
    return 0;
}
