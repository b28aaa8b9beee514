#pragma once

#include "moxd/administration_internal.h"

namespace mox {

// The commands `moxd company ...`.
void AddCompany(AdministrationCall& call);
void ChangeAddress(AdministrationCall& call);
void RemoveCompany(AdministrationCall& call);
void ListCompanies(AdministrationCall& call);
void LoadCompanies(AdministrationCall& call);
void MoveCompany(AdministrationCall& call);

}  // namespace mox
