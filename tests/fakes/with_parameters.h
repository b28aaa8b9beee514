#pragma once

#include <gtest/gtest.h>

#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"

namespace mox {

/// A program with settings and the parameters of a company, and nothing else.
class WithParameters : public testing::Test {
 protected:
  CompanyParameterModule parameters_;

 private:
  MemorySettings settings_;
  ScopedApp app_{{.ini = &settings_, .comunication = &parameters_}};
};

}  // namespace mox
