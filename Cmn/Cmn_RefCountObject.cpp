#include "Cmn/Cmn_RefCountObject.h"

Cmn_RefCountObject::~Cmn_RefCountObject() = default;

void Cmn_RefCountObject::RemoveReference()
{
    if (RemoveReferenceHelper())
        delete this;
}
