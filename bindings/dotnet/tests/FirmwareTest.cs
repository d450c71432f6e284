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
                    Thread.Sleep(status.PollTimeout); // a pen that is asked too early takes that for a fault
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
