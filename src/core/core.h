// One include for everything in core that the services use.
#pragma once

#include "core/connections.h"  // IWYU pragma: export
#include "core/platform.h"     // IWYU pragma: export
#include "core/result.h"       // IWYU pragma: export
#include "core/text.h"         // IWYU pragma: export
#include "core/transfer.h"     // IWYU pragma: export
#include "core/upload_file.h"  // IWYU pragma: export
#include "core/uploader.h"     // IWYU pragma: export
