using System;
using System.Collections.Concurrent;
using System.Collections.Generic;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>Pens that come and go, and who is told.</summary>
    [TestFixture]
    public sealed class ManagerTest : Fixture
    {
        private readonly ConcurrentQueue<string> told = new ConcurrentQueue<string>();

        [SetUp]
        public void Forget()
        {
            while (told.TryDequeue(out string ignored))
            {
            }
        }

        [Test]
        public void HandlersAreToldThePensPresentAndThenWhatHappens()
        {
            Wait();
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            Listen(Manager);
            Told("+" + Pensim.Notebook, "+" + Pensim.Office, "+" + Pensim.Locked);
            Service.Command("undock " + Pensim.Office);
            Told("-" + Pensim.Office);
            Service.Command("dock " + Pensim.Office);
            Told("+" + Pensim.Office);
        }

        [Test]
        public void HandlersRunInTheContextThatWasGiven()
        {
            var context = new QueueContext();
            using (var manager = new PenManager(context))
            {
                var threads = new List<int>();
                manager.Arrived += (sender, arguments) => threads.Add(Thread.CurrentThread.ManagedThreadId);
                Assert.That(Soon.Is(() => context.Count == 3));
                Assert.That(threads, Is.Empty);
                context.RunAll();
                Assert.That(threads, Is.EqualTo(Enumerable.Repeat(Thread.CurrentThread.ManagedThreadId, 3)));
            }
        }

        [Test]
        public void AHandlerMayDoEverything()
        {
            var pages = new BlockingCollection<int>();
            Manager.Arrived += (sender, arguments) =>
            {
                if (arguments.Pen.Serial == Pensim.Notebook)
                {
                    using (Pen pen = Manager.Connect(arguments.Pen))
                    {
                        pages.Add(pen.Fetch().Count);
                    }
                    GC.Collect();
                    Manager.Dispose();
                    pages.Add(-1);
                }
            };
            Assert.That(pages.Take(), Is.EqualTo(8));
            Assert.That(pages.Take(), Is.EqualTo(-1));
        }

        [Test]
        public void AHandlerThatDoesNotReturnHoldsNobodyUp()
        {
            var released = new ManualResetEventSlim();
            Manager.Arrived += (sender, arguments) => released.Wait();
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            DateTime began = DateTime.UtcNow;
            Manager.Dispose();
            Assert.That(DateTime.UtcNow - began, Is.LessThan(TimeSpan.FromSeconds(3)));
            released.Set();
        }

        [Test]
        public void AWaitEndsAtItsLimitByCancellationAndWithTheManager()
        {
            Assert.That(
                () => Inner(Manager.WaitForPenAsync("AAA-AAA-AAA-AA", TimeSpan.FromMilliseconds(100))),
                Throws.InstanceOf<TimeoutException>());
            var cancel = new CancellationTokenSource(100);
            Assert.That(
                () => Inner(Manager.WaitForPenAsync("AAA-AAA-AAA-AA", Timeout.InfiniteTimeSpan, cancel.Token)),
                Throws.InstanceOf<OperationCanceledException>());
            Task<PenInfo> waiting = Manager.WaitForPenAsync("AAA-AAA-AAA-AA", Timeout.InfiniteTimeSpan);
            Manager.Dispose();
            Assert.That(() => Inner(waiting), Throws.InstanceOf<ObjectDisposedException>());
            Assert.Throws<ObjectDisposedException>(() => Manager.Pens.ToString());
        }

        [Test]
        public void AWaitFindsAPenThatIsThereInAnySpelling()
        {
            Assert.That(Wait(Pensim.Notebook.ToLowerInvariant()).PenId, Is.EqualTo(0x12300abcdeful));
            Assert.That(Manager.WaitForPenAsync().Result, Is.Not.Null);
        }

        [Test]
        public void AfterAServiceWasAwayPensThatAreNotRepeatedAreDropped()
        {
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            Listen(Manager);
            Told("+" + Pensim.Notebook, "+" + Pensim.Office, "+" + Pensim.Locked);
            Thread.Sleep(1200); // longer than announcements that belong together
            Service.Command("rendezvous down");
            Service.Command("undock " + Pensim.Office);
            Service.Command("rendezvous up");
            Told("+" + Pensim.Notebook + " again", "+" + Pensim.Locked + " again", "-" + Pensim.Office + " again");
            Present(Pensim.Notebook, Pensim.Locked);
        }

        [Test]
        public void APenThatIsRepeatedIsConnectedWhereItIsNow()
        {
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            Thread.Sleep(1200); // longer than announcements that belong together
            PenInfo before = Wait();
            Service.Command("rendezvous down");
            Service.Command("undock " + Pensim.Notebook);
            Service.Command("dock " + Pensim.Notebook); // on another port
            Service.Command("rendezvous up");
            Assert.That(Soon.Is(() => Wait() != before));
            using (Pen pen = Connect())
            {
                Assert.That(pen.IsLocked, Is.False);
            }
        }

        [Test]
        public void RefreshDropsNobodyWhoIsThere()
        {
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            Manager.Refresh();
            Thread.Sleep(1500);
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
            Service.Command("rendezvous down");
            Manager.Refresh();
            Present();
        }

        [Test]
        public void APenOutlivesItsManager()
        {
            Pen pen = Connect();
            Manager.Dispose();
            Assert.That(pen.Battery[0], Is.EqualTo(87));
            pen.Dispose();
        }

        [Test]
        public void AForgottenPenIsDisconnectedByTheCollector()
        {
            ForgetAPen();
            Assert.That(Soon.Is(() =>
            {
                GC.Collect();
                GC.WaitForPendingFinalizers();
                return Core.Ordinary.Users == 1;
            }));
        }

        [Test]
        public void PensThatComeAndGoWhileTheCollectorRuns()
        {
            Wait();
            for (var i = 0; i < 20; ++i)
            {
                Service.Command("undock " + Pensim.Notebook);
                Service.Command("dock " + Pensim.Notebook);
                GC.Collect();
            }
            Present(Pensim.Notebook, Pensim.Office, Pensim.Locked);
        }

        [Test]
        public void TwoManagersShareWhatTheProcessHasOnce()
        {
            using (var second = new PenManager())
            {
                Wait();
                Assert.That(second.WaitForPenAsync(Pensim.Notebook).Result.PenId, Is.EqualTo(Wait().PenId));
                Manager.Dispose();
                Assert.That(second.Pens.Count, Is.GreaterThan(0));
            }
        }

        [Test]
        public void AConnectionThatFailsLeavesNothing()
        {
            PenInfo info = Wait();
            Service.Command("undock " + Pensim.Notebook);
            Thread.Sleep(200);
            Assert.That(() => Manager.Connect(info), Throws.InstanceOf<ZelException>());
            Assert.That(Core.Ordinary.Users, Is.EqualTo(1));
        }

        [MethodImpl(MethodImplOptions.NoInlining)]
        private void ForgetAPen()
        {
            var thread = new Thread(() => Connect()); // a stack of its own, which the collector does not look at
            thread.Start();
            thread.Join();
        }

        private static PenInfo Inner(Task<PenInfo> task) => task.GetAwaiter().GetResult();

        private void Listen(PenManager manager)
        {
            manager.Arrived += (sender, a) => told.Enqueue("+" + a.Pen.Serial + (a.Repeated ? " again" : string.Empty));
            manager.Departed += (sender, a) => told.Enqueue("-" + a.Pen.Serial + (a.Repeated ? " again" : string.Empty));
        }

        private void Told(params string[] expected)
        {
            var seen = new List<string>();
            Soon.Is(() =>
            {
                while (told.TryDequeue(out string one))
                {
                    seen.Add(one);
                }
                return seen.Count >= expected.Length;
            });
            Assert.That(seen, Is.EquivalentTo(expected));
        }

        private void Present(params string[] serials)
        {
            Assert.That(
                Soon.Is(() => Manager.Pens.Select(pen => pen.Serial).OrderBy(s => s).SequenceEqual(serials.OrderBy(s => s))),
                string.Join(" ", Manager.Pens));
        }

        private sealed class QueueContext : SynchronizationContext
        {
            private readonly ConcurrentQueue<Action> posted = new ConcurrentQueue<Action>();

            internal int Count => posted.Count;

            public override void Post(SendOrPostCallback callback, object state) => posted.Enqueue(() => callback(state));

            internal void RunAll()
            {
                while (posted.TryDequeue(out Action action))
                {
                    action();
                }
            }
        }
    }

    /// <summary>Many pens.</summary>
    [TestFixture]
    public sealed class ManyPensTest : Fixture
    {
        protected override string Pens =>
            "[" + string.Join(", ", Enumerable.Range(1, 50).Select(n => "{\"id\": \"0x" + n.ToString("x") + "\"}")) + "]";

        [Test]
        public void AllFiftyAreThere()
        {
            Assert.That(Soon.Is(() => Manager.Pens.Count == 50));
            Assert.That(Manager.Pens.Select(pen => pen.PenId), Is.EqualTo(Enumerable.Range(1, 50).Select(n => (ulong)n)));
        }
    }

    /// <summary>A pen that the library does not support.</summary>
    [TestFixture]
    public sealed class ForeignPenTest : Fixture
    {
        protected override string Pens => "[{\"id\": \"0x1\", \"vendor_id\": 1, \"product_id\": 1}]";

        [Test]
        public void ItIsRefused()
        {
            var failure = Assert.Throws<ZelException>(() => Manager.Connect(Wait("AAA-AAA-AAB-AB")));
            Assert.That(failure.Code, Is.EqualTo(ResultCode.DeviceNotSupported));
        }
    }
}
