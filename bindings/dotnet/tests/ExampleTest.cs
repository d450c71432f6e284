using System;
using System.Diagnostics;
using System.IO;
using System.Reflection;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>The example does what it says.</summary>
    [TestFixture]
    public sealed class ExampleTest : Fixture
    {
        [Test]
        public void ItFetchesAndSavesPages()
        {
            string folder = Path.GetDirectoryName(Assembly.GetExecutingAssembly().Location);
            string file = Path.GetTempFileName();
            var start = new ProcessStartInfo("mono", $"{Path.Combine(folder, "FetchPages.exe")} {file}")
            {
                UseShellExecute = false,
                RedirectStandardOutput = true,
            };
            using (Process process = Process.Start(start))
            {
                string output = process.StandardOutput.ReadToEnd();
                process.WaitForExit();
                Assert.That(process.ExitCode, Is.EqualTo(0));
                Assert.That(output, Is.StringStarting($"{Pensim.Notebook}: 8 pages saved\n"));
                Assert.That(output, Is.StringContaining("1.2.3.4 200 bytes\n"));
            }
            Assert.That(PageData.Read(file).Count, Is.EqualTo(8));
            File.Delete(file);
        }
    }
}
