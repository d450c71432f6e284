using System;
using System.Diagnostics;
using Zel;

/// <summary>As exchange.c, through the .NET assembly.</summary>
internal static class Exchange
{
    private static void Main(string[] words)
    {
        int exchanges = int.Parse(words[0]);
        using (var manager = new PenManager())
        using (Pen pen = manager.Connect(manager.WaitForPenAsync().Result))
        {
            pen.IsLocked.ToString(); // compiled before it is measured
            Stopwatch watch = Stopwatch.StartNew();
            for (var i = 0; i < exchanges; ++i)
            {
                if (pen.IsLocked)
                {
                    throw new InvalidOperationException();
                }
            }
            Console.WriteLine("exchange {0:F0}", watch.Elapsed.TotalMilliseconds * 1e6 / exchanges);
            pen.Fetch(); // compiled before it is measured
            watch.Restart();
            PageData data = pen.Fetch();
            Console.WriteLine("retrieval {0:F0}", watch.Elapsed.TotalMilliseconds * 1e6);
            GC.KeepAlive(data);
        }
    }
}
