using System;
using System.Diagnostics;
using System.IO;
using System.Reflection;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>Programs that end without closing anything: each is a process of its own, and ends at once.</summary>
    [TestFixture]
    public sealed class ExitTest : Fixture
    {
        [TestCase("connected")]
        [TestCase("handlers")]
        [TestCase("collected")]
        public void AProgramThatEndsEndsAtOnce(string program)
        {
            Assert.That(Run(program, out string output), Is.EqualTo(0), output);
            Assert.That(output, Is.EqualTo("over\n"));
        }

        [Test]
        public void PensAreDisconnectedBeforeTheRuntimeEnds()
        {
            Assert.That(Run("order", out string output), Is.EqualTo(0), output);
            Assert.That(output, Is.EqualTo("over\nTrue\n"));
        }

        // Mono waits for a thread that is in native code; what counts is that the end is a clean one.
        [Test]
        public void AProgramEndsWellWhileAThreadWaitsForASlowPen()
        {
            Service.Command("fault " + Pensim.Notebook + " {\"instruction\": \"R1GL\", \"occurrence\": 2, \"delay_ms\": 1500}");
            Assert.That(Run("blocked", out string output), Is.EqualTo(0), output);
            Assert.That(output, Is.EqualTo("over\n"));
        }

        [Test]
        public void AnExceptionInAHandlerIsAnUnhandledOne()
        {
            Assert.That(Run("throwing", out string output), Is.Not.EqualTo(0));
            Assert.That(output, Is.StringContaining("System.InvalidTimeZoneException: mine"));
        }

        private static int Run(string program, out string output)
        {
            string folder = Path.GetDirectoryName(Assembly.GetExecutingAssembly().Location);
            var start = new ProcessStartInfo("mono", Path.Combine(folder, "Zel.ExitPrograms.exe") + " " + program)
            {
                UseShellExecute = false,
                RedirectStandardOutput = true,
                RedirectStandardError = true,
            };
            using (Process process = Process.Start(start))
            {
                string all = process.StandardOutput.ReadToEnd() + process.StandardError.ReadToEnd();
                process.WaitForExit();
                output = all;
                return process.ExitCode;
            }
        }
    }
}
