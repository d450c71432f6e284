using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Threading;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>A firmware upgrade, from the wait for the pen to the image that it was given.</summary>
    [TestFixture]
    public sealed class FirmwareTest : Fixture
    {
        private static readonly byte[] Image = Enumerable.Range(0, 10003).Select(n => (byte)n).ToArray();

        [Test]
        public void AWholeImageArrivesInOneCall()
        {
            var reports = new Reports(null);
            PenInfo info = Firmware.DownloadAsync(Image, Pensim.Upgrade, reports).Result;
            Assert.That(info.Serial, Is.EqualTo(Pensim.Upgrade));
            Assert.That(reports.Seen.First(), Is.EqualTo(0));
            Assert.That(reports.Seen.Last(), Is.EqualTo(Image.Length));
            string file = Path.GetTempFileName();
            Service.Command("image " + Pensim.Upgrade + " " + file);
            Assert.That(File.ReadAllBytes(file), Is.EqualTo(Image));
            File.Delete(file);
        }

        [Test]
        public void NoSuchPenIsATimeOut()
        {
            Assert.That(
                () => Firmware.DownloadAsync(Image, "AAA-AAA-AAA-AA", null, TimeSpan.FromMilliseconds(100))
                    .GetAwaiter().GetResult(),
                Throws.InstanceOf<TimeoutException>());
        }

        [Test]
        public void ThePenTellsItsStateStatusAndDescriptor()
        {
            WithPen(pen =>
            {
                Assert.That(pen.State, Is.EqualTo(UpgradeState.Idle));
                Assert.That(pen.Status.Failed, Is.False);
                Assert.That(pen.Status.Text, Is.EqualTo("no error"));
                Assert.That(pen.Descriptor.CanDownload);
                Assert.That(pen.Descriptor.TransferSize, Is.GreaterThan(0));
            });
        }

        [Test]
        public void AnExceptionInTheProgressReportGivesTheImageUp()
        {
            WithPen(pen =>
            {
                var reports = new Reports(new InvalidTimeZoneException());
                Assert.Throws<InvalidTimeZoneException>(() => pen.Download(Image, reports));
                Assert.That(pen.State, Is.EqualTo(UpgradeState.Idle));
                pen.Download(Image);
            });
        }

        [Test]
        public void ACancelledDownloadGivesTheImageUp()
        {
            WithPen(pen =>
            {
                var cancel = new CancellationTokenSource();
                var reports = new Reports(null) { Action = cancel.Cancel };
                Assert.That(() => pen.Download(Image, reports, cancel.Token), Throws.InstanceOf<OperationCanceledException>());
                Assert.That(pen.State, Is.EqualTo(UpgradeState.Idle));
            });
        }

        [Test]
        public void SingleRequests()
        {
            WithPen(pen =>
            {
                pen.SendBlock(0, new ArraySegment<byte>(new byte[] { 1, 2, 3 }));
                UpgradeStatus status = pen.Status;
                while (status.State != UpgradeState.DownloadIdle)
                {
                    Thread.Sleep(status.PollTimeout + TimeSpan.FromMilliseconds(1)); // a pen that is asked too early takes that for a fault
                    status = pen.Status;
                }
                pen.Abort();
                Assert.That(pen.State, Is.EqualTo(UpgradeState.Idle));
                Assert.That(() => pen.ClearStatus(), Throws.InstanceOf<ZelException>());
                Assert.That(() => pen.Detach(), Throws.InstanceOf<ZelException>());
                Assert.That(() => pen.DetachBoot(), Throws.InstanceOf<ZelException>());
                Assert.Throws<ArgumentException>(() => pen.SendBlock(0, new ArraySegment<byte>(new byte[65536])));
                pen.ResetPort();
            });
        }

        private static void WithPen(Action<UpgradePen> test)
        {
            using (var manager = new UpgradeManager())
            using (UpgradePen pen = manager.Connect(manager.WaitForPenAsync(Pensim.Upgrade).Result))
            {
                test(pen);
            }
        }

        private sealed class Reports : IProgress<DownloadProgress>
        {
            private readonly Exception thrown;

            internal Reports(Exception thrown)
            {
                this.thrown = thrown;
            }

            internal List<int> Seen { get; } = new List<int>();

            internal Action Action { get; set; }

            public void Report(DownloadProgress value)
            {
                Seen.Add(value.BytesSent);
                Action?.Invoke();
                if (thrown != null && value.BytesSent > 2000)
                {
                    throw thrown;
                }
            }
        }
    }

    /// <summary>A pen that fails in the middle of an image.</summary>
    [TestFixture]
    public sealed class FailingUpgradeTest : Fixture
    {
        protected override string Pens => "[{\"id\": \"0x1\", \"mode\": \"firmware-upgrade\", \"dfu\": {\"fail_at_block\": 2}}]";

        [Test]
        public void TheFaultIsToldInWords()
        {
            using (var manager = new UpgradeManager())
            using (UpgradePen pen = manager.Connect(manager.WaitForPenAsync().Result))
            {
                var failure = Assert.Throws<ZelException>(() => pen.Download(new byte[10000]));
                Assert.That(failure.Message, Is.StringMatching("The pen stopped after \\d+ bytes: .* \\(status \\d+, Error\\)"));
                Assert.That(failure.Text, Is.StringStarting("The pen stopped after "));
                Assert.That(pen.Status.Failed);
            }
        }
    }

    /// <summary>Answers that a pen does not give by itself.</summary>
    [TestFixture]
    public sealed class UpgradeFaultsTest : Fixture
    {
        private const string Pen = "AAA-AAA-AAB-AB";

        protected override string Pens => "[{\"id\": \"0x1\", \"mode\": \"firmware-upgrade\"}]";

        [TestCase(3, 5, "the memory cannot be written")]
        [TestCase(0, 10, "no error")]
        [TestCase(0, 2, "no error")]
        public void AFaultOrAnotherStateAfterABlockIsAFailure(int status, int state, string said)
        {
            Status(status, state, ", \"occurrence\": 3");
            var failure = Assert.Throws<ZelException>(Download);
            Assert.That(failure.Text, Is.StringContaining(said));
        }

        [Test]
        public void APenThatInstallsAnImageIsNotReadyForAnother()
        {
            Status(0, 7);
            var failure = Assert.Throws<ZelException>(Download);
            Assert.That(failure.Text, Is.EqualTo("The pen is not ready for an image: its state is Manifest."));
        }

        [TestCase(0, 5, false)]
        [TestCase(3, 5, true)]
        [TestCase(0, 10, true)]
        public void AFaultAndTheErrorStateEachAreAFailure(int status, int state, bool failed)
        {
            Assert.That(new UpgradeStatus(new byte[] { (byte)status, 0, 0, 0, (byte)state, 0 }).Failed, Is.EqualTo(failed));
        }

        [TestCase(3)]
        [TestCase(4)]
        [TestCase(6)]
        public void APenThatIsBusyIsAskedAgain(int state)
        {
            Status(0, state, ", \"occurrence\": 3");
            Download();
        }

        [Test]
        public void APenThatGivesAnImageIsToldToStop()
        {
            Status(0, 9, ", \"occurrence\": 1");
            Download();
            Assert.That(string.Concat(Service.Command("state " + Pen)), Is.StringContaining("V007"));
        }

        [Test]
        public void APenThatWaitsForAResetGetsIt()
        {
            Download(WhenComplete(() => Status(0, 8)));
            Assert.That(string.Concat(Service.Command("state " + Pen)), Is.StringContaining("V009"));
        }

        [Test]
        public void AConnectionLostAtTheResetIsNoFailure()
        {
            Service.Command("fault " + Pen + " {\"instruction\": \"V009\", \"cut_after\": 0}");
            Download(WhenComplete(() => Status(0, 8)));
        }

        [Test]
        public void ARefusedResetIsAFailure()
        {
            Service.Command("fault " + Pen + " {\"instruction\": \"V009\", \"status\": -1}");
            var failure = Assert.Throws<ZelException>(() => Download(WhenComplete(() => Status(0, 8))));
            Assert.That(failure.Operation, Is.EqualTo("zelDfuResetPort"), "{0}", failure);
        }

        [TestCase("05e80340001001", 1000, 64)] // attributes, detach timeout, 64 bytes, version 1.1
        [TestCase("07e80340001001", 1000, 64)] // its attributes are no length
        [TestCase("05210040001001", 33, 64)] // its timeout is no type
        [TestCase("07210501000010", 1, 4096)] // length and type in front, no version behind
        public void ADescriptorHasItsLengthAndTypeOrNot(string record, int timeout, int size)
        {
            Service.Command("fault " + Pen + " {\"instruction\": \"V002\", \"value\": {\"binary\": \"" + record + "\"}}");
            using (var manager = new UpgradeManager())
            using (UpgradePen pen = manager.Connect(manager.WaitForPenAsync().Result))
            {
                UpgradeDescriptor descriptor = pen.Descriptor;
                Assert.That(descriptor.DetachTimeout, Is.EqualTo(TimeSpan.FromMilliseconds(timeout)));
                Assert.That(descriptor.TransferSize, Is.EqualTo(size));
            }
        }

        /// <summary>What the pen answers when it is asked for its status (V005).</summary>
        private void Status(int status, int state, string more = "")
        {
            Service.Command(
                $"fault {Pen} {{\"instruction\": \"V005\", \"value\": {{\"binary\": \"{status:x2}000000{state:x2}00\"}}{more}}}");
        }

        private static IProgress<DownloadProgress> WhenComplete(Action action) => new Completion { Action = action };

        private static void Download() => Download(null);

        private static void Download(IProgress<DownloadProgress> progress)
        {
            using (var manager = new UpgradeManager())
            using (UpgradePen pen = manager.Connect(manager.WaitForPenAsync().Result))
            {
                pen.Download(new byte[10000], progress);
            }
        }

        private sealed class Completion : IProgress<DownloadProgress>
        {
            internal Action Action { get; set; }

            void IProgress<DownloadProgress>.Report(DownloadProgress value)
            {
                if (value.BytesSent == value.BytesTotal)
                {
                    Action();
                }
            }
        }
    }

    /// <summary>A pen that asks for an hour after each block.</summary>
    [TestFixture]
    public sealed class BusyUpgradeTest : Fixture
    {
        protected override string Pens =>
            "[{\"id\": \"0x1\", \"mode\": \"firmware-upgrade\", \"dfu\": {\"block_ms\": 3600000}}]";

        [Test]
        public void ACancellationEndsThePause()
        {
            using (var manager = new UpgradeManager())
            using (UpgradePen pen = manager.Connect(manager.WaitForPenAsync().Result))
            {
                var cancel = new CancellationTokenSource(500);
                Assert.That(
                    () => pen.Download(new byte[10], null, cancel.Token),
                    Throws.InstanceOf<OperationCanceledException>());
                Assert.That(pen.State, Is.EqualTo(UpgradeState.Idle));
            }
        }
    }

    /// <summary>A pen that must be reset, and not too early.</summary>
    [TestFixture]
    public sealed class SlowUpgradeTest : Fixture
    {
        protected override string Pens => "[{\"id\": \"0x1\", \"mode\": \"firmware-upgrade\", " +
            "\"dfu\": {\"manifestation_tolerant\": false, \"manifest_ms\": 300}}]";

        [Test]
        public void ItHasTheTimeThatItAsksForAndRunsItsNewFirmware()
        {
            Firmware.DownloadAsync(new byte[3000]).Wait();
            Assert.That(Manager.WaitForPenAsync().Result.PenId, Is.EqualTo(1ul));
        }
    }
}
