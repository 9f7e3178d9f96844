/* All of libboardfeatures. Each family also has a header of its own. */
#ifndef BOARDFEATURES_BOARDFEATURES_H
#define BOARDFEATURES_BOARDFEATURES_H

#include "boardfeatures/bios.h"
#include "boardfeatures/config.h"
#include "boardfeatures/cooling.h"
#include "boardfeatures/dimm.h"
#include "boardfeatures/fru.h"
#include "boardfeatures/host.h"
#include "boardfeatures/identity.h"
#include "boardfeatures/ipc.h"
#include "boardfeatures/mailbox.h"
#include "boardfeatures/net.h"
#include "boardfeatures/pcieid.h"
#include "boardfeatures/pcieid_enum.h"
#include "boardfeatures/pcieid_settings.h"
#include "boardfeatures/power.h"
#include "boardfeatures/process.h"
#include "boardfeatures/soc.h"
#include "boardfeatures/storage.h"

#endif
