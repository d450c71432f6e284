using System;
using System.Collections.Generic;
using System.Diagnostics.CodeAnalysis;
using System.Threading;
using System.Threading.Tasks;

namespace Zel
{
    /// <summary>What finding pens has in common in both modes.</summary>
    public abstract class PenFinder : IDisposable, IPenObserver
    {
        private static readonly TimeSpan UsualWait = TimeSpan.FromSeconds(10);

        private readonly SynchronizationContext context;
        private readonly object gate = new object();
        private readonly Queue<PenEventArgs> events = new Queue<PenEventArgs>(); // of the own thread; locks itself
        private readonly CancellationTokenSource ended = new CancellationTokenSource();
        private EventHandler<PenEventArgs> arrived;
        private EventHandler<PenEventArgs> departed;
        private bool observing;
        private int disposed;

        internal PenFinder(Core core, SynchronizationContext context)
        {
            Core = core;
            this.context = context;
            disposed = 1; // nothing for the finaliser to do if this fails
            core.Acquire();
            disposed = 0;
        }

        /// <summary>Releases what a forgotten instance holds.</summary>
        ~PenFinder()
        {
            if (Interlocked.Exchange(ref disposed, 1) == 0)
            {
                Core.Post(Core.Release);
            }
        }

        /// <summary>
        /// Raised for every pen that arrives, and first for those that are present when the first handler of either
        /// event is added. Handlers run one at a time, in the synchronization context that was given, otherwise on a
        /// thread of this instance, where an exception of theirs is an unhandled one.
        /// </summary>
        public event EventHandler<PenEventArgs> Arrived
        {
            add => Subscribe(() => arrived += value);
            remove => Subscribe(() => arrived -= value);
        }

        /// <summary>Raised for every pen that departs; see <see cref="Arrived"/>.</summary>
        public event EventHandler<PenEventArgs> Departed
        {
            add => Subscribe(() => departed += value);
            remove => Subscribe(() => departed -= value);
        }

        /// <summary>
        /// The pens present, in the order in which they arrived. Right after the start it may still be empty: the pen
        /// service is asked in the background.
        /// </summary>
        /// <exception cref="ObjectDisposedException">This instance was disposed of.</exception>
        public IReadOnlyList<PenInfo> Pens
        {
            get
            {
                RequireOpen();
                return Core.Pens();
            }
        }

        internal Core Core { get; }

        /// <summary>Waits for a pen.</summary>
        /// <param name="serial">Which pen, in upper or lower case; any when left out.</param>
        /// <param name="timeout">How long to wait; 10 seconds when left out, or
        /// <see cref="Timeout.InfiniteTimeSpan"/>.</param>
        /// <param name="cancellation">Ends the wait.</param>
        /// <returns>The pen.</returns>
        /// <exception cref="TimeoutException">No such pen within that time.</exception>
        /// <exception cref="OperationCanceledException">The wait was cancelled.</exception>
        /// <exception cref="ObjectDisposedException">This instance was disposed of.</exception>
        public async Task<PenInfo> WaitForPenAsync(
            [AllowNull] string serial = null, TimeSpan? timeout = null, CancellationToken cancellation = default(CancellationToken))
        {
            RequireOpen();
            var waiter = new Waiter(serial);
            Core.Observe(waiter);
            try
            {
                using (var end = CancellationTokenSource.CreateLinkedTokenSource(cancellation, ended.Token))
                {
                    Task limit = Task.Delay(timeout ?? UsualWait, end.Token);
                    Task first = await Task.WhenAny(waiter.Found, limit).ConfigureAwait(false);
                    if (first == waiter.Found)
                    {
                        end.Cancel(); // the limit's timer
                        return await waiter.Found.ConfigureAwait(false);
                    }
                }
            }
            finally
            {
                Core.Ignore(waiter);
            }
            RequireOpen();
            cancellation.ThrowIfCancellationRequested();
            throw new TimeoutException(serial == null ? "No pen arrived in time." : $"Pen {serial} did not arrive in time.");
        }

        /// <summary>
        /// Ends the search for pens. A handler that is running goes on; none is called after it. Pens that are
        /// connected stay usable until they are disposed of.
        /// </summary>
        public void Dispose()
        {
            if (Interlocked.Exchange(ref disposed, 1) != 0)
            {
                return;
            }
            GC.SuppressFinalize(this);
            Core.Ignore(this);
            ended.Cancel();
            lock (events)
            {
                Monitor.Pulse(events);
            }
            Core.Release();
        }

        void IPenObserver.Observe(PenEventArgs happened)
        {
            if (context != null)
            {
                context.Post(state => Raise((PenEventArgs)state), happened);
                return;
            }
            lock (events)
            {
                events.Enqueue(happened);
                Monitor.Pulse(events);
            }
        }

        internal void RequireOpen()
        {
            if (Volatile.Read(ref disposed) != 0)
            {
                throw new ObjectDisposedException(GetType().Name);
            }
        }

        private void Subscribe(Action change)
        {
            lock (gate)
            {
                change();
                if (observing)
                {
                    return;
                }
                RequireOpen();
                observing = true;
                if (context == null)
                {
                    new Thread(RaiseAll) { IsBackground = true, Name = "zel events" }.Start();
                }
                Core.Observe(this);
            }
        }

        private void RaiseAll()
        {
            for (;;)
            {
                PenEventArgs happened;
                lock (events)
                {
                    while (events.Count == 0 && Volatile.Read(ref disposed) == 0)
                    {
                        Monitor.Wait(events);
                    }
                    if (Volatile.Read(ref disposed) != 0)
                    {
                        return;
                    }
                    happened = events.Dequeue();
                }
                Raise(happened);
            }
        }

        private void Raise(PenEventArgs happened)
        {
            if (Volatile.Read(ref disposed) == 0)
            {
                (happened.Arrived ? arrived : departed)?.Invoke(this, happened);
            }
        }

        private sealed class Waiter : IPenObserver
        {
            private readonly TaskCompletionSource<PenInfo> found =
                new TaskCompletionSource<PenInfo>(TaskCreationOptions.RunContinuationsAsynchronously);

            private readonly string serial;

            internal Waiter(string serial)
            {
                this.serial = serial;
            }

            internal Task<PenInfo> Found => found.Task;

            public void Observe(PenEventArgs happened)
            {
                bool wanted = serial == null ||
                    string.Equals(serial, happened.Pen.Serial, StringComparison.OrdinalIgnoreCase);
                if (happened.Arrived && wanted)
                {
                    found.TrySetResult(happened.Pen);
                }
            }
        }
    }

    /// <summary>Finds pens and connects to them.</summary>
    /// <example>
    /// <code>
    /// using (var manager = new PenManager())
    /// using (Pen pen = manager.Connect(await manager.WaitForPenAsync()))
    /// {
    ///     (await pen.FetchAsync()).Save("pages.zel");
    /// }
    /// </code>
    /// </example>
    /// <remarks>
    /// Several may exist at once; they share what the process has only once. Every member may be used by any thread.
    /// </remarks>
    public sealed class PenManager : PenFinder
    {
        /// <summary>Starts to look for pens.</summary>
        /// <param name="context">Where handlers run; a thread of this instance when left out. In a program with windows,
        /// <see cref="SynchronizationContext.Current"/> of the window's thread.</param>
        /// <exception cref="ZelException">The native library could not be started.</exception>
        public PenManager([AllowNull] SynchronizationContext context = null)
            : base(Core.Ordinary, context)
        {
        }

        /// <summary>Connects to a pen that is present. Blocks for up to three exchanges with the pen.</summary>
        /// <param name="info">The pen.</param>
        /// <exception cref="ZelException">With <see cref="ResultCode.DeviceNotSupported"/>: the pen's USB identity is not
        /// among the accepted ones; with <see cref="ResultCode.Unexpected"/>: its service cannot be reached.</exception>
        /// <exception cref="PenCommunicationException">The pen's service does not answer.</exception>
        public Pen Connect(PenInfo info)
        {
            if (info == null)
            {
                throw new ArgumentNullException(nameof(info));
            }
            RequireOpen();
            return new Pen(info, PenHandle.Connect(Core, info.Record));
        }

        /// <summary>
        /// Has the pen service announce all its pens once more. Pens that it does not repeat within a second are
        /// dropped from <see cref="PenFinder.Pens"/>. Waits until no pen is in use.
        /// </summary>
        public void Refresh()
        {
            RequireOpen();
            Core.Refresh();
        }
    }
}
