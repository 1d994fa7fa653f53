/// Entering what was found in the catalogue.
#ifndef CATALOG_UPDATE_H
#define CATALOG_UPDATE_H

#include "entry.h"
#include "examine.h"
#include "report.h"
#include "store.h"

/// Examines a directory and enters what is found in the store, as the tree `tree` of it, whose own
/// entries are not looked at. What was found is stored from time to time, and also if an exception
/// ends the run.
Report Update(Store& store, const Directory& directory, const Tree& tree, Examination how);

#endif
