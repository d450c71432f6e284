// A host in a managed runtime that collects garbage while its callbacks run on the library's thread, and after
// each of them. To collect, the runtime suspends every thread that has ever called it, the library's among them,
// and waits for it.
//
//   collecting_host.exe    with the library where the system's loader finds it
//
// Exit code 0 when pens were announced and garbage was collected; it hangs when a thread cannot be suspended.
using System;
using System.Runtime.InteropServices;
using System.Threading;

static class CollectingHost
{
    const int Announcements = 20;

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    delegate void PenCallback(IntPtr record, IntPtr context);

    [DllImport("zel")]
    static extern uint zelInitialize(PenCallback arrived, PenCallback departed, IntPtr context);
    [DllImport("zel")]
    static extern uint zelExit();
    [DllImport("zel")]
    static extern uint zelFreeDiscoveryHandle(ref IntPtr record);

    static readonly AutoResetEvent entered = new AutoResetEvent(false);
    static readonly AutoResetEvent mayReturn = new AutoResetEvent(false);

    static void Announced(IntPtr record, IntPtr context)
    {
        zelFreeDiscoveryHandle(ref record);
        GC.Collect();
        entered.Set();
        mayReturn.WaitOne();
    }

    static int Main()
    {
        PenCallback announced = Announced;
        if (zelInitialize(announced, announced, IntPtr.Zero) != 0)
            return 1;
        for (int i = 0; i < Announcements; ++i)
        {
            entered.WaitOne();
            GC.Collect(); // while the callback runs
            mayReturn.Set();
            Thread.Sleep(5);
            GC.Collect(); // while the library's thread waits for the next announcement
        }
        mayReturn.Set();
        uint code = zelExit();
        GC.Collect();
        GC.KeepAlive(announced);
        return code == 0 ? 0 : 1;
    }
}
