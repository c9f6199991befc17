#include "Cmn/Cmn_Exception.h"

#include <memory>
#include <mutex>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"

// Shared by all copies of one exception. The count is atomic because a
// stored clone and the copies thrown from it may end on different threads.
class Cmn_Exception::RefCountedData : public Sys_ThreadSafeRefCountObject
{
public:
    RefCountedData() = default;

    // Takes the text if it was made, and the same contexts: the context
    // objects are shared, not cloned, and live as long as any record holds them.
    RefCountedData(RefCountedData const& other) : Sys_ThreadSafeRefCountObject(other)
    {
        {
            std::lock_guard<std::mutex> lock(other.mMutex);
            mTextValid = other.mTextValid;
            mText = other.mText;
        }
        mContexts = other.mContexts;
        mContextOwners = other.mContextOwners;
    }
    RefCountedData& operator=(RefCountedData const&) = delete;

    char const* GetText(Cmn_Exception const& owner)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (!mTextValid)
        {
            mText = owner.GetDescription();
            mTextValid = true;
        }
        return mText.c_str();
    }

    void Append(std::shared_ptr<Cmn_ExceptionDescription> context)
    {
        mContexts.reserve(mContexts.size() + 1);
        mContextOwners.reserve(mContextOwners.size() + 1);
        mContexts.push_back(context.get());
        mContextOwners.push_back(std::move(context));
    }

    std::vector<Cmn_ExceptionDescription*> const& GetContexts() const noexcept { return mContexts; }

private:
    mutable std::mutex mMutex;
    bool mTextValid = false;
    std::string mText;
    std::vector<Cmn_ExceptionDescription*> mContexts;
    std::vector<std::shared_ptr<Cmn_ExceptionDescription>> mContextOwners;
};

std::vector<Cmn_ExceptionDescription*> const Cmn_Exception::sEmptyContextList;

Cmn_Exception::Cmn_Exception(XC_BaseExceptionCode const& code, Cmn_StackDump* dump) noexcept
    : Cmn_ExceptionDescription(code, dump)
{
}

Cmn_Exception::Cmn_Exception(Cmn_Exception const& other)
    : Cmn_ExceptionDescription(other), std::exception(other), mData(other.mData.load(std::memory_order_acquire))
{
    if (RefCountedData* data = mData.load(std::memory_order_relaxed))
        data->AddReference();
}

Cmn_Exception::Cmn_Exception(Cmn_Exception&& other) noexcept
    : Cmn_ExceptionDescription(std::move(other)), std::exception(other),
      mData(other.mData.exchange(nullptr, std::memory_order_acq_rel))
{
}

Cmn_Exception& Cmn_Exception::operator=(Cmn_Exception const& other)
{
    if (this != &other)
    {
        Cmn_ExceptionDescription::operator=(other);
        std::exception::operator=(other);
        RefCountedData* data = other.mData.load(std::memory_order_acquire);
        if (data)
            data->AddReference();
        SetRefData(data);
    }
    return *this;
}

Cmn_Exception& Cmn_Exception::operator=(Cmn_Exception&& other) noexcept
{
    if (this != &other)
    {
        Cmn_ExceptionDescription::operator=(std::move(other));
        std::exception::operator=(other);
        SetRefData(other.mData.exchange(nullptr, std::memory_order_acq_rel));
    }
    return *this;
}

Cmn_Exception::~Cmn_Exception()
{
    SetRefData(nullptr);
}

void Cmn_Exception::SetRefData(RefCountedData* data) noexcept
{
    if (RefCountedData* old = mData.exchange(data, std::memory_order_acq_rel))
        old->RemoveReference();
}

Cmn_Exception::RefCountedData* Cmn_Exception::AssureRefData() const
{
    RefCountedData* data = mData.load(std::memory_order_acquire);
    if (data)
        return data;
    auto* fresh = new RefCountedData();
    fresh->AddReference();
    if (mData.compare_exchange_strong(data, fresh, std::memory_order_acq_rel, std::memory_order_acquire))
        return fresh;
    // Another thread asking for the text at the same moment won.
    fresh->RemoveReference();
    return data;
}

char const* Cmn_Exception::what() const noexcept
{
    try
    {
        return AssureRefData()->GetText(*this);
    }
    catch (...)
    {
        return "Error in Cmn_Exception::what()";
    }
}

void Cmn_Exception::AddContext(Cmn_ExceptionDescription const* context)
{
    CMN_ASSERT(context != nullptr);
    if (context == nullptr)
        return;
    // Owned from here on, so that a failing allocation below frees it.
    std::shared_ptr<Cmn_ExceptionDescription> owner(const_cast<Cmn_ExceptionDescription*>(context));
    RefCountedData* data = AssureRefData();
    if (data->GetRefCount() >= 2)
    {
        // Other copies keep the list they had.
        auto* copy = new RefCountedData(*data);
        copy->AddReference();
        SetRefData(copy);
        data = copy;
    }
    data->Append(std::move(owner));
}

Cmn_ExceptionDescription* const* Cmn_Exception::GetContextListBegin() const noexcept
{
    RefCountedData const* data = mData.load(std::memory_order_acquire);
    return (data ? data->GetContexts() : sEmptyContextList).data();
}

Cmn_ExceptionDescription* const* Cmn_Exception::GetContextListEnd() const noexcept
{
    RefCountedData const* data = mData.load(std::memory_order_acquire);
    std::vector<Cmn_ExceptionDescription*> const& list = data ? data->GetContexts() : sEmptyContextList;
    return list.data() + list.size();
}

std::string Cmn_Exception::GetFullDescription() const
{
    std::string text = what();
    for (auto it = GetContextListBegin(); it != GetContextListEnd(); ++it)
    {
        text += '\n';
        text += (*it)->GetDescription();
    }
    return text;
}
