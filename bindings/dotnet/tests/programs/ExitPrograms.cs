using System;
using System.Threading;

namespace Zel.Tests
{
    /// <summary>Programs that end without closing anything.</summary>
    internal static class ExitPrograms
    {
        private const string Notebook = "AKZ-AQ7-APS-AC";

        private static void Main(string[] words)
        {
            var manager = new PenManager();
            Pen pen = manager.Connect(manager.WaitForPenAsync(Notebook).Result);
            switch (words[0])
            {
                case "handlers":
                    manager.Arrived += (sender, arguments) => Thread.Sleep(Timeout.Infinite);
                    break;
                case "collected":
                    pen = null;
                    manager = null;
                    GC.Collect();
                    break;
                case "blocked":
                    new Thread(() => pen.IsLocked.ToString()) { IsBackground = true }.Start();
                    Thread.Sleep(300);
                    break;
                case "order":
                    AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => Console.WriteLine(pen.IsClosed);
                    break;
                case "throwing":
                    manager.Arrived += (sender, arguments) => throw new InvalidTimeZoneException("mine");
                    Thread.Sleep(10000);
                    break;
            }
            Console.WriteLine("over");
            GC.KeepAlive(pen);
            GC.KeepAlive(manager);
        }
    }
}
