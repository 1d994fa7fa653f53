// What a component does with the library across its boundary: values of a class derived over there,
// texts, a digest, the status log, an exception, and the one function with a plain name.
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "utilities/frame/statuslog.h"
#include "utilities/services/md5.h"
#include "utilities/text/qelstring.h"
#include "utilities/values/multitype.h"

extern "C" int printFmtDBGFile(const char* format, ...);

namespace {

int failures = 0;

void Check(bool passed, const char* what) {
    if (!passed) {
        std::fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

class Quantity : public MultiType {
public:
    explicit Quantity(int value) : MultiType(value) {}
    short getCookie() const override { return 7; }
    void Fill(unsigned int size) { StoreRaw(size, nullptr, 5); }
};

void CheckValues() {
    const std::unique_ptr<MultiType> derived = std::make_unique<Quantity>(42);
    const std::unique_ptr<MultiType> plain = std::make_unique<MultiType>(*derived);
    Check(derived->getCookie() == 7 && plain->getCookie() == -1, "virtual call");
    Check(dynamic_cast<Quantity*>(derived.get()) != nullptr, "cast to the derived class");
    Check(dynamic_cast<Quantity*>(plain.get()) == nullptr, "cast of a plain value");
    const MultiType& value = *plain;
    Check(typeid(value) == typeid(MultiType), "type information");
    Check(plain->GetAs<String>() == "42" && plain->GetAs<double>() == 42.0, "readings of a copy");

    unsigned int id = 0;
    dynamic_cast<Quantity&>(*derived).Fill(3);
    Check(derived->Type(&id) == MultiType::TYPE_RAW && id == 5 && derived->GetValueSize() == 3,
          "protected operation");
}

void CheckTexts() {
    String text(std::basic_string<WideChar>(u"report"));
    Check(text.Format("%s-%I64d.%S", "report", -5LL, u"txt") && text == "report--5.txt", "format");
    bool caught = false;
    try {
        text.Insert(100, u"x");
    } catch (const std::out_of_range&) {
        caught = true;
    }
    Check(caught, "exception");
}

void CheckServices() {
    VYStatusLogWrite("first");
    std::string content;
    std::getline(std::ifstream("vy-current-status"), content);
    Check(content == "first", "status log");
    Check(MD5("abc", 3).hex_digest() == "900150983cd24fb0d6963f7d28e17f72", "digest");
    Check(printFmtDBGFile("%1024d", 1) == 1 && printFmtDBGFile("%1025d", 1) == 0, "debug line");
}

}  // namespace

int main() {
    CheckValues();
    CheckTexts();
    CheckServices();
    return failures == 0 ? 0 : 1;
}
