#include "owners.h"

#include <grp.h>
#include <pwd.h>

#include <cstring>

namespace {

constexpr unsigned int NAMES = 100;
constexpr unsigned int NAME_SIZE = 256;  // With its terminator; longer ones are cut.

}  // namespace

OwnerNames::OwnerNames(LookUp lookUp) : CacheManager(NAMES, NAME_SIZE), m_LookUp(lookUp) {}

String OwnerNames::Of(unsigned int number) {
    const String shown = MultiType(number).GetAs<String>();
    if (number == CacheNode::getDefaultNodeID())
        return shown;
    CacheNode* node = searchNodeID_InRC(number);
    if (node == nullptr) {
        const String name = m_LookUp(number);
        node = addNodeID_ToRC(number);
        auto* const text = reinterpret_cast<char*>(node->getNodeData());
        text[(name.empty() ? shown : name).copy(text, NAME_SIZE - 1)] = '\0';
        node->setNodeState(1);
    }
    return String(reinterpret_cast<const char*>(node->getNodeData()));
}

String UserNamed(unsigned int number) {
    const passwd* const user = getpwuid(number);
    return user != nullptr ? String(user->pw_name) : String();
}

String GroupNamed(unsigned int number) {
    const group* const found = getgrgid(number);
    return found != nullptr ? String(found->gr_name) : String();
}
