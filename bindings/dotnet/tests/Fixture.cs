using System;
using System.IO;
using System.Linq;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>A test with a pen service, a manager, and nothing left behind.</summary>
    public abstract class Fixture
    {
        private int before;

        internal Pensim Service { get; private set; }

        internal PenManager Manager { get; private set; }

        [SetUp]
        public void Begin()
        {
            before = Descriptors();
            Service = new Pensim(Pens);
            Manager = new PenManager();
        }

        [TearDown]
        public void End()
        {
            Manager.Dispose();
            Service.Dispose();
            // Whatever a test forgot goes with the collector; the library ends with the last of it.
            Assert.That(
                Soon.Is(() =>
                {
                    GC.Collect();
                    GC.WaitForPendingFinalizers();
                    return Core.Ordinary.Users == 0 && Core.Upgrades.Users == 0 && Descriptors() <= before + 8;
                }),
                "{0} and {1} users, {2} descriptors, {3} before",
                Core.Ordinary.Users,
                Core.Upgrades.Users,
                Descriptors(),
                before);
        }

        protected virtual string Pens => null;

        internal PenInfo Wait(string serial = Pensim.Notebook) => Manager.WaitForPenAsync(serial).Result;

        internal Pen Connect(string serial = Pensim.Notebook) => Manager.Connect(Wait(serial));

        // Of sockets only: the runtime opens and closes files as it likes.
        private static int Descriptors() => Directory.Exists("/proc/self/net")
            ? Directory.GetFiles("/proc/self/fd").Length
            : 0;
    }
}
