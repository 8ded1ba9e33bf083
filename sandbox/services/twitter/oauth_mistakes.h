// Explains why a signature does not fit: finds the base string that the client signed instead.
#pragma once

#include "kit/why.h"
#include "services/twitter/oauth_check.h"

namespace velk::sandbox {

// Tries the mistakes that clients make, one by one and in pairs. A signature proves which base string and
// which key it was made from, so that what is found is certain. Of a request that no known mistake explains,
// the expected base string is all that there is.
Why WhySignatureFails(const ServiceRequest& request, const OauthCheck& check);

}  // namespace velk::sandbox
