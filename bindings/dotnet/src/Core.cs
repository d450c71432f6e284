using System;
using System.Collections.Generic;
using System.Linq;
using System.Threading;

namespace Zel
{
    /// <summary>
    /// One mode of the native library, shared by everything in the process that uses it: the library can be started
    /// once only. It starts with the first user and ends when the last one is gone; a connected pen is a user too.
    /// </summary>
    /// <remarks>
    /// Three kinds of threads meet here. The native library's thread only puts a record into a queue. The core's own
    /// thread, the pump, takes it out, keeps the list of pens and passes events on. The host's threads read.
    /// </remarks>
    internal sealed class Core
    {
        internal static readonly Core Ordinary = new Core(false);
        internal static readonly Core Upgrades = new Core(true);

        /// <summary>Announcements that follow one another within this time belong together.</summary>
        private static readonly TimeSpan Settle = TimeSpan.FromSeconds(1);

        private readonly object lifecycle = new object(); // start and end; taken before the other lock
        private readonly object changed = new object(); // the list of pens and the subscribers
        private readonly object describing = new object(); // while the pump asks the native library about a record
        private readonly RecordCallback callback; // the native library calls it as long as it runs
        private readonly Queue<object> queue = new Queue<object>(); // records, and actions of the pump; locks itself
        private readonly List<Present> pens = new List<Present>();
        private readonly HashSet<ulong> unrepeated = new HashSet<ulong>();
        private readonly List<IPenObserver> observers = new List<IPenObserver>();
        private readonly List<WeakReference<PenHandle>> handles = new List<WeakReference<PenHandle>>();
        private DateTime? resyncEnds;
        private Thread pump;
        private int users;

        private Core(bool upgrade)
        {
            Upgrade = upgrade;
            callback = (record, context) => Put(record);
            AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => End();
            AppDomain.CurrentDomain.DomainUnload += (sender, arguments) => End();
        }

        internal bool Upgrade { get; }

        internal int Users
        {
            get
            {
                lock (lifecycle)
                {
                    return users;
                }
            }
        }

        /// <summary>Adds a user; the first one starts the native library.</summary>
        internal void Acquire()
        {
            lock (lifecycle)
            {
                if (users == 0)
                {
                    Start();
                }
                ++users;
            }
        }

        /// <summary>Removes a user; after the last one the native library ends.</summary>
        internal void Release()
        {
            lock (lifecycle)
            {
                if (users > 0 && --users == 0)
                {
                    Stop();
                }
            }
        }

        /// <summary>Runs an action on the pump.</summary>
        internal void Post(Action action) => Put(action);

        internal void Add(PenHandle handle)
        {
            lock (lifecycle)
            {
                handles.RemoveAll(reference => !reference.TryGetTarget(out PenHandle old) || old.IsClosed);
                handles.Add(new WeakReference<PenHandle>(handle));
            }
        }

        /// <summary>The pens present, in the order in which they arrived.</summary>
        internal IReadOnlyList<PenInfo> Pens()
        {
            lock (changed)
            {
                return pens.Select(present => present.Info).ToArray();
            }
        }

        /// <summary>Lets the observer be told the pens present and every event that follows.</summary>
        internal void Observe(IPenObserver observer)
        {
            lock (changed)
            {
                foreach (Present present in pens)
                {
                    observer.Observe(new PenEventArgs(present.Info, true, false));
                }
                observers.Add(observer);
            }
        }

        internal void Ignore(IPenObserver observer)
        {
            lock (changed)
            {
                observers.Remove(observer);
            }
        }

        /// <summary>Has every pen announced once more; what is not repeated is dropped.</summary>
        internal void Refresh()
        {
            while (!TryRefresh())
            {
                Thread.Sleep(1);
            }
        }

        internal bool Disconnect(IntPtr pen)
        {
            uint code = Upgrade ? NativeMethods.zelDfuDisconnectPen(ref pen) : NativeMethods.zelDisconnectPen(ref pen);
            return code == 0;
        }

        /// <summary>
        /// No other call may run beside zelEnumeratePens, so every pen's gate is needed: all of them or none, as a
        /// thread may use one pen in the progress report of another.
        /// </summary>
        private bool TryRefresh()
        {
            var taken = new List<PenHandle>();
            lock (lifecycle)
            {
                try
                {
                    foreach (WeakReference<PenHandle> reference in handles)
                    {
                        if (!reference.TryGetTarget(out PenHandle handle))
                        {
                            continue;
                        }
                        if (!Monitor.TryEnter(handle.Gate))
                        {
                            return false;
                        }
                        taken.Add(handle);
                        if (handle.Running)
                        {
                            throw new InvalidOperationException(
                                "Refresh was called from the progress report of a pen's own call.");
                        }
                    }
                    lock (describing)
                    {
                        Native.Check(NativeMethods.zelEnumeratePens(), "zelEnumeratePens");
                    }
                    lock (changed)
                    {
                        BeginResync();
                    }
                    Post(() => { }); // wakes the pump, which then knows when the resynchronisation ends
                    return true;
                }
                finally
                {
                    taken.ForEach(handle => Monitor.Exit(handle.Gate));
                }
            }
        }

        private void Start()
        {
            Native.CheckVersion();
            uint code = Upgrade
                ? NativeMethods.zelDfuInit(IntPtr.Zero, callback, callback)
                : NativeMethods.zelInitialize(callback, callback, IntPtr.Zero);
            if (code != 0)
            {
                if (code != (uint)ResultCode.AlreadyInitialized)
                {
                    EndNative(); // no listener, but the library may count as initialised
                }
                throw ZelException.From(code, Upgrade ? "zelDfuInit" : "zelInitialize");
            }
            pump = new Thread(Run) { IsBackground = true, Name = "zel" };
            pump.Start();
        }

        private void Stop()
        {
            Thread stopped = pump;
            pump = null;
            Put(null);
            if (stopped != Thread.CurrentThread)
            {
                stopped.Join();
            }
            EndNative();
            lock (queue)
            {
                foreach (object item in queue)
                {
                    (item as RecordHandle)?.Dispose();
                }
                queue.Clear();
            }
            lock (changed)
            {
                pens.Clear();
                unrepeated.Clear();
                resyncEnds = null;
            }
        }

        private void EndNative()
        {
            if (Upgrade)
            {
                NativeMethods.zelDfuExit();
            }
            else
            {
                NativeMethods.zelExit();
            }
        }

        /// <summary>The process ends: whatever was forgotten is closed now, while there is still a runtime.</summary>
        private void End()
        {
            lock (lifecycle)
            {
                if (users == 0)
                {
                    return;
                }
                ++users; // the last handle must not end the library within this loop
                foreach (WeakReference<PenHandle> reference in handles)
                {
                    if (reference.TryGetTarget(out PenHandle handle))
                    {
                        CloseIfIdle(handle);
                    }
                }
                users = 0;
                Stop();
            }
        }

        // A thread may be blocked in a call on its pen: that handle is left to the process's end.
        private static void CloseIfIdle(PenHandle handle)
        {
            if (!Monitor.TryEnter(handle.Gate))
            {
                return;
            }
            try
            {
                if (!handle.Running)
                {
                    handle.CloseNow();
                }
            }
            finally
            {
                Monitor.Exit(handle.Gate);
            }
        }

        private void Put(IntPtr record) => Put(new RecordHandle(record));

        private void Put(object item)
        {
            lock (queue)
            {
                queue.Enqueue(item);
                Monitor.Pulse(queue);
            }
        }

        private bool TryTake(out object item)
        {
            lock (queue)
            {
                while (queue.Count == 0)
                {
                    TimeSpan left = resyncEnds.HasValue ? resyncEnds.Value - DateTime.UtcNow : Timeout.InfiniteTimeSpan;
                    if (resyncEnds.HasValue && left <= TimeSpan.Zero)
                    {
                        item = null;
                        return false;
                    }
                    Monitor.Wait(queue, left);
                }
                item = queue.Dequeue();
                return true;
            }
        }

        private void Run()
        {
            for (;;)
            {
                if (!TryTake(out object item))
                {
                    EndResync();
                }
                else if (item == null)
                {
                    return;
                }
                else if (item is RecordHandle record)
                {
                    Announce(record);
                }
                else if (!Did((Action)item))
                {
                    return;
                }
            }
        }

        /// <summary>
        /// False when the pump has to end: the action was the last user's, or somebody waits for the pump's end and
        /// holds the lock meanwhile.
        /// </summary>
        private bool Did(Action action)
        {
            while (!Monitor.TryEnter(lifecycle, 100))
            {
                if (pump != Thread.CurrentThread)
                {
                    return false;
                }
            }
            try
            {
                action();
                return pump == Thread.CurrentThread;
            }
            finally
            {
                Monitor.Exit(lifecycle);
            }
        }

        private void Announce(RecordHandle record)
        {
            ulong penId = record.PenId;
            if (record.Kind != 0)
            {
                record.Dispose();
                lock (changed)
                {
                    unrepeated.Remove(penId);
                    Drop(penId, false);
                }
                return;
            }
            PenInfo info;
            try
            {
                info = Describe(record, penId);
            }
            catch (ZelException)
            {
                record.Dispose(); // no memory for it
                return;
            }
            lock (changed)
            {
                Arrive(info);
            }
        }

        private PenInfo Describe(RecordHandle record, ulong penId)
        {
            lock (describing)
            {
                Native.Check(NativeMethods.zelGetDevicePenSerial(record, out IntPtr text), "zelGetDevicePenSerial");
                string serial = Native.TakeText(text);
                ushort vendor = 0, product = 0;
                if (!Upgrade)
                {
                    // The ids of old pens are written too, although the code says otherwise.
                    NativeMethods.zelGetDeviceVidAndPid(record, out vendor, out product);
                }
                return new PenInfo(serial, penId, vendor, product, record);
            }
        }

        private void Arrive(PenInfo info)
        {
            DateTime now = DateTime.UtcNow;
            Present present = pens.Find(one => one.Info.PenId == info.PenId);
            unrepeated.Remove(info.PenId);
            bool repeated = present != null;
            if (!repeated)
            {
                pens.Add(new Present { Info = info, Announced = now });
            }
            else
            {
                // A pen that is announced again without having left tells that the server announces all its pens
                // once more. Twice within a moment is one pen that arrived while the list was being told.
                if (!resyncEnds.HasValue && now - present.Announced > Settle)
                {
                    BeginResync();
                    unrepeated.Remove(info.PenId);
                }
                present.Info = info;
                present.Announced = now;
            }
            if (resyncEnds.HasValue)
            {
                resyncEnds = now + Settle;
            }
            Tell(new PenEventArgs(info, true, repeated));
        }

        private void BeginResync()
        {
            unrepeated.UnionWith(pens.Select(present => present.Info.PenId));
            resyncEnds = DateTime.UtcNow + Settle;
        }

        private void EndResync()
        {
            lock (changed)
            {
                resyncEnds = null;
                foreach (ulong penId in unrepeated)
                {
                    Drop(penId, true);
                }
                unrepeated.Clear();
            }
        }

        private void Drop(ulong penId, bool repeated)
        {
            int index = pens.FindIndex(present => present.Info.PenId == penId);
            if (index >= 0)
            {
                PenInfo info = pens[index].Info;
                pens.RemoveAt(index);
                Tell(new PenEventArgs(info, false, repeated));
            }
        }

        private void Tell(PenEventArgs happened)
        {
            foreach (IPenObserver observer in observers.ToArray())
            {
                observer.Observe(happened);
            }
        }

        private sealed class Present
        {
            internal PenInfo Info;
            internal DateTime Announced;
        }
    }
}
