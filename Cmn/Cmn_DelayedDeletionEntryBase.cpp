#include "Cmn/Cmn_DelayedDeletionEntryBase.h"

Cmn_DelayedDeletionEntryBase::~Cmn_DelayedDeletionEntryBase() = default;
