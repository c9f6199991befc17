#include "Cmn/Cmn_AddExceptionContext.h"

#include <memory>
#include <string>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"

void Cmn_AddExceptionContext(std::exception* e, Cmn_ExceptionDescription* context)
{
    std::unique_ptr<Cmn_ExceptionDescription> owned(context);
    CMN_ASSERT(e != nullptr);
    CMN_ASSERT(context != nullptr);
    if (e == nullptr || context == nullptr)
        return;

    if (auto* ours = dynamic_cast<Cmn_Exception*>(e))
    {
        ours->AddContext(owned.release());
        return;
    }

    auto converted = Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_ANSIexception, Cmn_TStringXData(e->what()));
    converted.AddContext(owned.release());
    throw converted;
}
