#include "utilities/services/digitaloutput.h"

void SetDigOut(bool) {}
