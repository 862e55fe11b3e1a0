#pragma once

#include "Bundle/Bundle.h"

namespace ChatPush {

/// The bundle of this library's resources, "TesselKit_ChatPush.bundle". It is looked for in the main bundle's
/// resources, in those of the bundle that holds this code, and in the main bundle itself; a program that links the
/// library statically puts it beside its executable. Opened once per process; where there is none the process stops.
const Foundation::Bundle& resourceBundle();

}  // namespace ChatPush
