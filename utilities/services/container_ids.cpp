#include "utilities/services/container_ids.h"

E_CONTAINERINFO_ID& operator++(E_CONTAINERINFO_ID& id) {
    if (id == CONTAINERINFO_BASIC_LAST)
        id = CONTAINERINFO_10_FIRST;
    else if (id == CONTAINERINFO_10_LAST)
        id = CONTAINERINFO_20_FIRST;
    else
        id = static_cast<E_CONTAINERINFO_ID>(static_cast<unsigned int>(id) + 1u);
    return id;
}

E_CONTAINERINFO_ID getLastCntrInfoID(const E_CONTAINERID& container) {
    switch (container) {
        case CONTAINER_10:
            return CONTAINERINFO_10_LAST;
        case CONTAINER_20:
            return CONTAINERINFO_20_LAST;
        default:
            return CONTAINERINFO_BASIC_LAST;
    }
}
