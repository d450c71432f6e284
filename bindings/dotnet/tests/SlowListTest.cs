using System;
using System.Collections.Concurrent;
using System.Linq;
using System.Net;
using System.Net.Sockets;
using System.Text;
using System.Threading;
using System.Threading.Tasks;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>Which announcements tell that the service announces all its pens once more.</summary>
    [TestFixture]
    public sealed class SlowListTest
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
        public void APenThatArrivesWhileTheListIsToldDropsNoOther()
        {
            using (var announcer = new Announcer(1, 2))
            using (PenManager manager = Told())
            {
                announcer.Arrive(1);
                Thread.Sleep(1500);
                Assert.That(told, Is.EqualTo(new[] { "+1", "+2", "+1 again" }));
                Assert.That(manager.Pens.Select(pen => pen.PenId), Is.EquivalentTo(new[] { 1ul, 2ul }));
            }
        }

        [Test]
        public void AListThatIsToldSlowlyDropsNoPenBeforeItsEnd()
        {
            using (var announcer = new Announcer(1, 2))
            using (Told())
            {
                announcer.WaitForTheHost();
                Thread.Sleep(1200); // longer than announcements that belong together
                foreach (ulong penId in new ulong[] { 1, 3, 2 })
                {
                    announcer.Arrive(penId);
                    Thread.Sleep(600);
                }
                Thread.Sleep(900);
                Assert.That(told, Is.EqualTo(new[] { "+1", "+2", "+1 again", "+3", "+2 again" }));
            }
        }

        private PenManager Told()
        {
            var manager = new PenManager();
            manager.Arrived += (sender, a) => told.Enqueue("+" + a.Pen.PenId + (a.Repeated ? " again" : string.Empty));
            manager.Departed += (sender, a) => told.Enqueue("-" + a.Pen.PenId);
            return manager;
        }

        /// <summary>A rendezvous server that announces what a test says, when it says so.</summary>
        private sealed class Announcer : IDisposable
        {
            private readonly TcpListener listener = new TcpListener(IPAddress.Loopback, 3715);
            private readonly Task<NetworkStream> host;

            public Announcer(params ulong[] listed)
            {
                listener.Server.SetSocketOption(SocketOptionLevel.Socket, SocketOptionName.ReuseAddress, true);
                listener.Start();
                host = Task.Run(() =>
                {
                    NetworkStream stream = listener.AcceptTcpClient().GetStream();
                    string received = string.Empty;
                    while (!received.EndsWith("LIST\0", StringComparison.Ordinal))
                    {
                        received += (char)stream.ReadByte();
                    }
                    Send(stream, string.Concat(listed.Select(penId => Message(string.Empty, penId))) + "ENDLIST\0");
                    return stream;
                });
            }

            public void WaitForTheHost() => host.Wait();

            public void Arrive(ulong penId) => Send(host.Result, Message("CONNECT", penId));

            public void Dispose()
            {
                host.Result.Dispose();
                listener.Stop();
            }

            private static void Send(NetworkStream stream, string text)
            {
                byte[] bytes = Encoding.ASCII.GetBytes(text);
                stream.Write(bytes, 0, bytes.Length);
            }

            private static string Message(string command, ulong penId) => string.Join(
                "\r\n",
                "RVP1",
                command,
                "pen-id=" + penId.ToString("x16"),
                "pen-swver=601",
                "acc-prot=PSP41",
                "service-port=1\0");
        }
    }
}
