using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>The tables that stand here and in the C headers say the same.</summary>
    [TestFixture]
    public sealed class TableTest
    {
        private static readonly Dictionary<string, string> Types = new Dictionary<string, string>
        {
            { "uint8_t", "Byte" }, { "uint16_t", "UInt16" }, { "uint32_t", "UInt32" }, { "uint64_t", "UInt64" },
            { "uint8_t *", "Byte&" }, { "uint16_t *", "UInt16&" }, { "uint32_t *", "UInt32&" },
            { "uint64_t *", "UInt64&" }, { "int32_t *", "Int32&" }, { "const char *", "Byte[]" },
            { "const uint8_t *", "Byte[]" }, { "const void *", "Byte[]" }, { "char **", "IntPtr&" },
            { "uint8_t **", "IntPtr&" }, { "PenHandle **", "IntPtr&" }, { "DfuPenHandle **", "IntPtr&" },
            { "DiscoveryHandle **", "IntPtr&" }, { "PenHandle *", "PenHandle" }, { "DfuPenHandle *", "PenHandle" },
            { "const DiscoveryHandle *", "RecordHandle" }, { "void *", "IntPtr" },
            { "PenArrivedCallback", "RecordCallback" }, { "PenDepartedCallback", "RecordCallback" },
            { "ProgressCallback", "NativeProgress" },
        };

        [Test]
        public void EveryFunctionIsDeclaredWithTheTypesOfTheHeader()
        {
            string header = Regex.Replace(Header("zel.h"), @"/\*.*?\*/", string.Empty, RegexOptions.Singleline);
            MatchCollection functions = Regex.Matches(header, @"\b(zel[A-Z]\w+)\s*\(([^)]*)\)\s*;");
            Assert.That(functions.Count, Is.EqualTo(67));
            const BindingFlags Hidden = BindingFlags.Static | BindingFlags.NonPublic;
            Assert.That(typeof(NativeMethods).GetMethods(Hidden).Length, Is.EqualTo(67));
            foreach (Match function in functions)
            {
                MethodInfo method = typeof(NativeMethods).GetMethod(function.Groups[1].Value, Hidden);
                string[] arguments = function.Groups[2].Value.Split(',').Select(a => a.Trim()).ToArray();
                IEnumerable<string> expected = arguments[0] == "void"
                    ? new string[0]
                    : arguments.Select(a => Types[Regex.Replace(a, @"\s*\w+$", string.Empty)]);
                IEnumerable<string> actual = method.GetParameters().Select(p => p.ParameterType.Name);
                if (method.GetParameters().Any(p => p.IsOut && p.ParameterType.IsArray))
                {
                    actual = actual.Select(name => name == "Byte[]" ? "Byte&" : name); // a buffer of the caller's
                }
                Assert.That(actual, Is.EqualTo(expected), method.Name);
                var import = (DllImportAttribute)method.GetCustomAttribute(typeof(DllImportAttribute));
                Assert.That(import.CallingConvention, Is.EqualTo(CallingConvention.Cdecl), method.Name);
            }
        }

        [Test]
        public void CodesNamesAndSentencesAreThoseOfTheHeader()
        {
            MatchCollection rows = Regex.Matches(Header("zel_result.h"), "X\\((ZEL_\\w+),\\s*\"([^\"]*)\"\\)");
            Assert.That(rows.Count, Is.EqualTo(Enum.GetValues(typeof(ResultCode)).Length));
            foreach (Match row in rows)
            {
                string name = row.Groups[1].Value;
                int code = int.Parse(Regex.Match(Header("zel.h"), $@"#define {name} (\d+)u").Groups[1].Value);
                Assert.That(ZelException.NameOf((ResultCode)code), Is.EqualTo(name));
                Assert.That(ZelException.TextOf((ResultCode)code), Is.EqualTo(row.Groups[2].Value));
                Assert.That(Enum.IsDefined(typeof(ResultCode), code));
            }
            Assert.That(ZelException.NameOf((ResultCode)7), Is.EqualTo("unknown"));
            Assert.That(ZelException.NameOf((ResultCode)(-1)), Is.EqualTo("unknown"));
            Assert.That(
                Header("zel_result.h"), Is.StringContaining("\"" + ZelException.TextOf((ResultCode)7) + "\""));
        }

        [Test]
        public void StatesAndFaultTextsOfAnUpgradeAreThoseOfTheHeader()
        {
            string header = Header("firmware.hpp");
            string texts = Regex.Match(header, @"dfuStatusText\(.*?\{(.*?)\};", RegexOptions.Singleline).Groups[1].Value;
            IEnumerable<string> expected = Regex.Matches(texts, "\"([^\"]*)\"").Cast<Match>().Select(m => m.Groups[1].Value);
            Assert.That(UpgradeStatus.Texts, Is.EqualTo(expected));
            Assert.That(UpgradeStatus.Texts.Length, Is.EqualTo(16));
            string states = Regex.Match(header, @"enum class DfuState[^{]*\{(.*?)\};", RegexOptions.Singleline).Groups[1].Value;
            MatchCollection rows = Regex.Matches(states, @"(\w+) = (\d+),");
            Assert.That(rows.Count, Is.EqualTo(Enum.GetValues(typeof(UpgradeState)).Length));
            foreach (Match row in rows)
            {
                var state = (UpgradeState)int.Parse(row.Groups[2].Value);
                Assert.That(state.ToString(), Is.EqualTo(row.Groups[1].Value).IgnoreCase);
            }
        }

        [Test]
        public void TheApiVersionIsTheHeaders()
        {
            Assert.That(Header("zel.h"), Is.StringContaining($"ZEL_API_VERSION \"{Native.ApiVersion}\""));
        }

        private static string Header(string name)
        {
            string root = Environment.GetEnvironmentVariable("ZEL_ROOT");
            return File.ReadAllText(Path.Combine(root, "include", "zel", name)).Replace("\\\n", " ");
        }
    }
}
