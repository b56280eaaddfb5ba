// What pages let be written: snapshots, recordings; and settings that they save and load
// themselves.
#pragma once

#include "view/Keep.h"
#include "view/Requests.h"

namespace norveltl {

// Both must outlive the routes.
SRoutes KeepRoutes(CCameras& cameras, CKeep& keep);

} // namespace norveltl
