#pragma once

// SOCI's headers, without their part for Boost: Debian's are configured with it but do not need it, and
// nothing here uses it.
#include <soci/soci-config.h>
#undef SOCI_HAVE_BOOST
#undef SOCI_HAVE_BOOST_DATE_TIME

#include <soci/soci.h>
