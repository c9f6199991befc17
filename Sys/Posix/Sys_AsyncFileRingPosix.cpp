#include "Sys/Posix/Sys_AsyncFileRingPosix.h"

#include <pthread.h>

#include <cerrno>
#include <memory>
#include <thread>

#include "Sys/Sys_ThrowIfOSErr.h"

Sys_AsyncFileRingPosix* Sys_AsyncFileRingPosix::Get()
{
    // Never destroyed: its thread waits in the ring until the process ends.
    static Sys_AsyncFileRingPosix* const sRing = []
    {
        auto* ring = new Sys_AsyncFileRingPosix();
        if (ring->Start())
            return ring;
        delete ring;
        return static_cast<Sys_AsyncFileRingPosix*>(nullptr);
    }();
    return sRing;
}

bool Sys_AsyncFileRingPosix::Start()
{
    // Refused by seccomp, by io_uring_disabled, or by an old kernel.
    if (::io_uring_queue_init(kEntries, &mRing, 0) < 0)
        return false;
    try
    {
        std::thread thread(&Sys_AsyncFileRingPosix::Reap, this);
        ::pthread_setname_np(thread.native_handle(), "vfl file ring");
        thread.detach();
    }
    catch (std::system_error const&)
    {
        ::io_uring_queue_exit(&mRing);
        return false;
    }
    return true;
}

void Sys_AsyncFileRingPosix::Submit(Transfer const& transfer)
{
    auto owned = std::make_unique<Transfer>(transfer);
    std::lock_guard<std::mutex> lock(mSubmitting);
    io_uring_sqe* sqe = ::io_uring_get_sqe(&mRing);
    while (!sqe)
    {
        // The submission queue is full: hand it to the kernel and try again.
        int const submitted = ::io_uring_submit(&mRing);
        if (submitted < 0 && submitted != -EINTR && submitted != -EAGAIN && submitted != -EBUSY)
            Sys_ThrowIfOSErr(-submitted);
        if (submitted <= 0)
            std::this_thread::yield();
        sqe = ::io_uring_get_sqe(&mRing);
    }
    unsigned const count = static_cast<unsigned>(transfer.count);
    if (transfer.write)
        ::io_uring_prep_write(sqe, transfer.fd, transfer.buffer, count, static_cast<__u64>(transfer.offset));
    else
        ::io_uring_prep_read(sqe, transfer.fd, transfer.buffer, count, static_cast<__u64>(transfer.offset));
    ::io_uring_sqe_set_data(sqe, owned.get());
    mSubmitted.fetch_add(1, std::memory_order_release);
    int const submitted = ::io_uring_submit(&mRing);
    if (submitted < 0)
    {
        // The entry stays in the queue and goes with the next submission:
        // the transfer is under way all the same.
        if (submitted != -EINTR && submitted != -EAGAIN && submitted != -EBUSY)
        {
            ::io_uring_prep_nop(sqe);
            ::io_uring_sqe_set_data(sqe, nullptr);
            Sys_ThrowIfOSErr(-submitted);
        }
    }
    owned.release();
}

void Sys_AsyncFileRingPosix::Reap()
{
    for (;;)
    {
        io_uring_cqe* cqe = nullptr;
        int const err = ::io_uring_wait_cqe(&mRing, &cqe);
        if (err < 0)
            continue; // interrupted
        mSubmitted.load(std::memory_order_acquire);
        std::unique_ptr<Transfer> const transfer(static_cast<Transfer*>(::io_uring_cqe_get_data(cqe)));
        int64 const result = cqe->res;
        ::io_uring_cqe_seen(&mRing, cqe);
        if (transfer)
            Finish(*transfer, result);
    }
}
