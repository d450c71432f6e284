using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Threading;

namespace Zel.Tests
{
    /// <summary>A simulated pen service that runs.</summary>
    internal sealed class Pensim : IDisposable
    {
        internal const string Notebook = "AKZ-AQ7-APS-AC"; // six pages and two stylo pages
        internal const string Office = "AAB-AAA-AAB-D7";
        internal const string Locked = "ABE-AAB-4KK-G3";
        internal const string Upgrade = "ABZ-ASW-Q4M-D3";
        internal const string Password = "geheim";

        private readonly string folder = Path.Combine(Path.GetTempPath(), "pensim-" + Guid.NewGuid().ToString("N"));
        private readonly Process process;

        internal Pensim(string pens = null)
        {
            Directory.CreateDirectory(folder);
            string words = "--quit-at-end";
            if (pens != null)
            {
                File.WriteAllText(Path.Combine(folder, "scenario.json"), "{\"pens\": " + pens + "}");
                words += " --scenario " + Path.Combine(folder, "scenario.json");
            }
            process = Process.Start(new ProcessStartInfo(Environment.GetEnvironmentVariable("ZEL_PENSIM"), words)
            {
                UseShellExecute = false,
                RedirectStandardInput = true,
                RedirectStandardOutput = true,
            });
            while (!Line().StartsWith("ready on port"))
            {
            }
        }

        internal List<string> Command(string command)
        {
            process.StandardInput.Write(command + "\n");
            process.StandardInput.Flush();
            var answer = new List<string>();
            for (;;)
            {
                string line = Line();
                if (line == "ok")
                {
                    return answer;
                }
                if (line.StartsWith("error: "))
                {
                    throw new ArgumentException(command + ": " + line);
                }
                answer.Add(line);
            }
        }

        public void Dispose()
        {
            process.StandardInput.Close();
            if (!process.WaitForExit(10000))
            {
                process.Kill();
            }
            process.Dispose();
            Directory.Delete(folder, true);
        }

        private string Line() => process.StandardOutput.ReadLine() ?? throw new EndOfStreamException("pensim ended");
    }

    /// <summary>Waiting for something that happens soon.</summary>
    internal static class Soon
    {
        internal static bool Is(Func<bool> condition)
        {
            Stopwatch watch = Stopwatch.StartNew();
            while (!condition())
            {
                if (watch.Elapsed > TimeSpan.FromSeconds(15))
                {
                    return false;
                }
                Thread.Sleep(10);
            }
            return true;
        }
    }
}
