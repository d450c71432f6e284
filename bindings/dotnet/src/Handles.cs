using System;
using System.Runtime.InteropServices;
using System.Threading;

namespace Zel
{
    /// <summary>Owns a record of the native library, which lives until the last announcement of it is collected.</summary>
    internal sealed class RecordHandle : SafeHandle
    {
        internal RecordHandle(IntPtr record)
            : base(IntPtr.Zero, true)
        {
            SetHandle(record);
        }

        public override bool IsInvalid => handle == IntPtr.Zero;

        /// <summary>0 for an arrival, 1 for a departure.</summary>
        internal int Kind => Marshal.ReadInt32(handle);

        internal ulong PenId => unchecked((ulong)Marshal.ReadInt64(handle, 8));

        protected override bool ReleaseHandle()
        {
            IntPtr record = handle;
            return NativeMethods.zelFreeDiscoveryHandle(ref record) == 0;
        }
    }

    /// <summary>
    /// Owns a connection, and lets one thread at a time use it. It is a user of the library until it is released, so
    /// the library never ends before it, whoever releases it, and however late.
    /// </summary>
    internal sealed class PenHandle : SafeHandle
    {
        private readonly Core core;
        private bool disposing;
        private bool released;

        private PenHandle(Core core)
            : base(IntPtr.Zero, true)
        {
            this.core = core;
        }

        public override bool IsInvalid => handle == IntPtr.Zero;

        /// <summary>Held during every call on the handle.</summary>
        internal object Gate { get; } = new object();

        /// <summary>Whether a call is running; read and written with the gate held.</summary>
        internal bool Running { get; set; }

        internal static PenHandle Connect(Core core, RecordHandle record)
        {
            core.Acquire();
            var pen = new PenHandle(core);
            lock (pen.Gate)
            {
                core.Add(pen);
                try
                {
                    uint code = core.Upgrade
                        ? NativeMethods.zelDfuConnectPen(out pen.handle, record)
                        : NativeMethods.zelConnectPen(record, out pen.handle);
                    Native.Check(code, core.Upgrade ? "zelDfuConnectPen" : "zelConnectPen");
                    return pen;
                }
                catch
                {
                    pen.CloseNow(); // a connection that fails may leave a handle too
                    throw;
                }
            }
        }

        /// <summary>Makes the caller the only user of the handle, until it disposes of the turn.</summary>
        internal Turn Enter(string operation)
        {
            Monitor.Enter(Gate);
            if (!Running && !IsClosed)
            {
                Running = true;
                return new Turn(this);
            }
            bool nested = Running;
            Monitor.Exit(Gate);
            if (nested)
            {
                throw new InvalidOperationException(
                    $"{operation}: this pen is in use by the call that this code was called from.");
            }
            throw new ObjectDisposedException("Pen", $"{operation}: the pen is closed.");
        }

        /// <summary>Calls a function as the only user of the handle.</summary>
        internal T Use<T>(string operation, Func<T> function)
        {
            using (Enter(operation))
            {
                return function();
            }
        }

        /// <summary>Disconnects; waits for a call that another thread has running.</summary>
        internal void CloseNow()
        {
            lock (Gate)
            {
                if (Running)
                {
                    throw new InvalidOperationException("A pen cannot be closed by code that one of its calls runs.");
                }
                if (IsClosed)
                {
                    return;
                }
                disposing = true;
                released = IsInvalid;
                Dispose();
            }
            if (released)
            {
                core.Release();
            }
        }

        protected override bool ReleaseHandle()
        {
            IntPtr pen = handle;
            if (disposing)
            {
                released = true;
                return core.Disconnect(pen);
            }
            // A finaliser: calls that no other may run beside, and the library's end, are the core's to order.
            core.Post(() =>
            {
                core.Disconnect(pen);
                core.Release();
            });
            return true;
        }

        /// <summary>A structure, as a pen is asked often: a turn takes no memory.</summary>
        internal struct Turn : IDisposable
        {
            private readonly PenHandle pen;

            internal Turn(PenHandle pen)
            {
                this.pen = pen;
            }

            public void Dispose()
            {
                pen.Running = false;
                Monitor.Exit(pen.Gate);
            }
        }
    }
}
