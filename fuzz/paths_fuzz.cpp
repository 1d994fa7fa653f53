// Paths in both widths: the parts join to the path again, and what is set is found again.
#include "fuzz/input.h"

namespace {

constexpr std::size_t LONGEST_PART = 255;
constexpr std::size_t LONGEST_PATH = 259;

template <class Char>
const std::basic_string<Char> SEPARATORS = {Char('/'), Char('\\'), Char(':')};

template <class Char>
std::basic_string<Char> Joined(const std::basic_string<Char>& drive,
                               const std::basic_string<Char>& directory,
                               const std::basic_string<Char>& name,
                               const std::basic_string<Char>& extension) {
    std::basic_string<Char> path = drive;
    if (!drive.empty() && drive.back() != Char(':'))
        path += Char(':');
    path += directory;
    if (!directory.empty() && directory.back() != Char('/') && directory.back() != Char('\\'))
        path += Char('\\');
    path += name;
    if (!extension.empty() && extension.front() != Char('.'))
        path += Char('.');
    path += extension;
    return path.size() <= LONGEST_PATH ? path : std::basic_string<Char>();
}

template <class Text>
void RequireParts(const Text& path) {
    using Base = std::basic_string<typename Text::value_type>;
    const Base whole = path.c_str();
    Base drive, directory, name, extension;
    path.SplitPath(&drive, &directory, &name, &extension);
    REQUIRE(drive.size() <= 2 && directory.size() <= LONGEST_PART);
    REQUIRE(name.size() <= LONGEST_PART && extension.size() <= LONGEST_PART);
    REQUIRE(name.find_first_of(SEPARATORS<typename Text::value_type>.substr(0, 2)) == Text::npos);
    Text joined;
    joined.MakePath(drive, directory, name, extension);
    REQUIRE(joined.size() <= LONGEST_PATH);
    if (whole.size() <= LONGEST_PART) {
        REQUIRE(drive + directory + name + extension == whole);
        REQUIRE(joined == whole);
    }
}

/// Sets what stands at `start` of the text itself as its extension and its name.
template <class Text>
void RequireChanges(const Text& path, std::size_t start) {
    using Char = typename Text::value_type;
    const std::basic_string<Char> wanted = path.c_str() + start;
    Text changed(path);
    changed.SetExtension(changed.c_str() + start);
    if (wanted.find_first_of(SEPARATORS<Char> + Char('.')) == Text::npos) {
        REQUIRE(changed.GetExtension() == wanted);
        REQUIRE(changed.GetExtDotPos() == static_cast<int>(changed.size() - wanted.size()) - 1);
    }
    changed = path;
    changed.SetFilename(changed.c_str() + start);
    const std::size_t kept = changed.size() - wanted.size();
    REQUIRE(changed.substr(kept) == wanted && path.compare(0, kept, changed, 0, kept) == 0);
    REQUIRE(kept == 0 || SEPARATORS<Char>.find(changed[kept - 1]) != Text::npos);
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
    REQUIRE(made == Joined(Terminated(parts[0]), Terminated(parts[1]), Terminated(parts[2]),
                           Terminated(parts[3])));
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
