// Paths in both widths: the parts join to the path again, and what is set is found again.
#include "fuzz/input.h"

namespace {

template <class Text>
void RequireParts(const Text& path) {
    constexpr std::size_t LONGEST_PART = 255, LONGEST_PATH = 259;
    using Base = std::basic_string<typename Text::value_type>;
    const Base whole = path.c_str();
    Base drive, directory, name, extension;
    path.SplitPath(&drive, &directory, &name, &extension);
    REQUIRE(drive.size() <= 2 && directory.size() <= LONGEST_PART);
    REQUIRE(name.size() <= LONGEST_PART && extension.size() <= LONGEST_PART);
    Text joined;
    joined.MakePath(drive, directory, name, extension);
    REQUIRE(joined.size() <= LONGEST_PATH);
    REQUIRE(whole.size() > LONGEST_PART || joined == whole);
}

/// Sets what stands at `start` of the text itself as its extension and its name.
template <class Text>
void RequireChanges(const Text& path, std::size_t start) {
    using Base = std::basic_string<typename Text::value_type>;
    const Base wanted = path.c_str() + start;
    Text changed(path);
    changed.SetExtension(changed.c_str() + start);
    if (wanted.find_first_of(Base(Text("/\\:."))) == Text::npos)
        REQUIRE(changed.GetExtension() == wanted);
    changed = path;
    changed.SetFilename(changed.c_str() + start);
    REQUIRE(changed.ends_with(wanted));
}

template <class Text>
void Try(FuzzedDataProvider& input) {
    using Char = typename Text::value_type;
    const auto start = input.ConsumeIntegral<std::size_t>();
    std::basic_string<Char> parts[4];
    for (auto& part : parts)
        part = TakeText<Char>(input, 300);
    const Text path(TakeText<Char>(input, 600));
    RequireParts(path);
    RequireChanges(path, start % (path.size() + 1));
    Text made;
    made.MakePath(parts[0], parts[1], parts[2], parts[3]);
    RequireParts(made);
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
