// What a client does across the library's boundary: values of a class that it derives, texts, a
// digest, the status log, an exception, and the one function with a plain name.
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>

#include "utilities/frame/statuslog.h"
#include "utilities/frame/version.h"
#include "utilities/services/md5.h"
#include "utilities/text/qelstring.h"
#include "utilities/values/multitype.h"

extern "C" int printFmtDBGFile(const char* format, ...);

namespace {

class Quantity : public MultiType {
public:
    explicit Quantity(int value) : MultiType(value) {}
    short getCookie() const override { return 7; }
    void Fill(unsigned int size) { StoreRaw(size, nullptr, 5); }
};

}  // namespace

int main() {
    const std::unique_ptr<MultiType> derived = std::make_unique<Quantity>(42);
    const MultiType plain(*derived);
    const MultiType& value = plain;
    auto* const quantity = dynamic_cast<Quantity*>(derived.get());
    String text(std::basic_string<WideChar>(u"report"));
    text.Format("%s-%I64d.%S", "report", -5LL, u"txt");
    bool caught = false;
    try {
        text.Insert(100, u"x");
    } catch (const std::out_of_range&) {
        caught = true;
    }
    VYStatusLogWrite("first");
    std::string log;
    std::getline(std::ifstream("vy-current-status"), log);
    quantity->Fill(3);
    const std::pair<const char*, bool> checks[] = {
        {"version", getUtilitiesVersion() == UTILITIES_VERSION},
        {"virtual call", derived->getCookie() == 7 && plain.getCookie() == -1},
        {"cast of a plain value", dynamic_cast<const Quantity*>(&value) == nullptr},
        {"type information", typeid(value) == typeid(MultiType)},
        {"readings of a copy", plain.GetAs<String>() == "42" && plain.GetAs<double>() == 42.0},
        {"protected operation", derived->GetValueSize() == 3},
        {"format", text == "report--5.txt"},
        {"exception", caught},
        {"status log", log == "first"},
        {"digest", MD5("abc", 3).hex_digest() == "900150983cd24fb0d6963f7d28e17f72"},
        {"debug line", printFmtDBGFile("%1024d", 1) == 1 && printFmtDBGFile("%1025d", 1) == 0}};
    int failures = 0;
    for (const auto& [what, passed] : checks) {
        if (!passed)
            std::fprintf(stderr, "failed: %s\n", what), ++failures;
    }
    return failures;
}
