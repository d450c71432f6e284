using System;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>Managers that find the process, or the service, not as usual.</summary>
    [TestFixture]
    public sealed class StartTest
    {
        [Test]
        public void AServiceThatStartsLateIsFound()
        {
            using (var manager = new PenManager())
            {
                Assert.That(
                    () => manager.WaitForPenAsync(null, TimeSpan.FromMilliseconds(100)).GetAwaiter().GetResult(),
                    Throws.InstanceOf<TimeoutException>());
                using (new Pensim())
                {
                    PenInfo info = manager.WaitForPenAsync(Pensim.Notebook, TimeSpan.FromSeconds(30)).Result;
                    Assert.That(info.Serial, Is.EqualTo(Pensim.Notebook));
                }
            }
        }

        [Test]
        public void ALibraryThatOtherCodeHasStartedIsLeftAlone()
        {
            RecordCallback ignore = (record, context) => new RecordHandle(record).Dispose();
            Assert.That(NativeMethods.zelInitialize(ignore, ignore, IntPtr.Zero), Is.EqualTo(0));
            var failure = Assert.Throws<ZelException>(() => new PenManager());
            Assert.That(failure.Code, Is.EqualTo(ResultCode.AlreadyInitialized));
            Assert.That(failure.Operation, Is.EqualTo("zelInitialize"));
            Assert.That(
                NativeMethods.zelInitialize(ignore, ignore, IntPtr.Zero),
                Is.EqualTo((uint)ResultCode.AlreadyInitialized));
            Assert.That(NativeMethods.zelExit(), Is.EqualTo(0));
            GC.KeepAlive(ignore);
            new PenManager().Dispose();
        }
    }
}
