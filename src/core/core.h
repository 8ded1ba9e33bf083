// What the services build on: one include for the whole frame.
#pragma once

#include "core/connections.h"  // IWYU pragma: export
#include "core/platform.h"     // IWYU pragma: export
#include "core/result.h"       // IWYU pragma: export
#include "core/text.h"         // IWYU pragma: export
#include "core/transfer.h"     // IWYU pragma: export
#include "core/upload_file.h"  // IWYU pragma: export
#include "core/uploader.h"     // IWYU pragma: export
