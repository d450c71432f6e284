using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Text;
using System.Text.RegularExpressions;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>The corpus that the readers in all languages share.</summary>
    [TestFixture]
    public sealed class CorpusTest
    {
        private static readonly string Folder =
            Path.Combine(Environment.GetEnvironmentVariable("ZEL_ROOT") ?? ".", "tests", "data", "page_data");

        public static IEnumerable<string> Names =>
            Directory.GetFiles(Folder, "*.hex").Select(Path.GetFileNameWithoutExtension).OrderBy(name => name);

        [TestCaseSource("Names")]
        public void IsReadAsWritten(string name)
        {
            byte[] data = Bytes(File.ReadAllLines(Path.Combine(Folder, name + ".hex")));
            string expected = File.ReadAllText(Path.Combine(Folder, name + ".json"));
            Match refused = Regex.Match(expected, "\"refusedAt\": (\\d+)");
            if (refused.Success)
            {
                var failure = Assert.Throws<PageDataException>(() => new PageData(data));
                Assert.That(failure.Offset, Is.EqualTo(int.Parse(refused.Groups[1].Value)));
                return;
            }
            int[] starts = Regex.Match(expected, "\"fieldStarts\": \\[([^]]*)\\]").Groups[1].Value
                .Split(new[] { ',' }, StringSplitOptions.RemoveEmptyEntries).Select(int.Parse).ToArray();
            expected = Regex.Replace(expected, ",\\s*\"fieldStarts\": \\[[^]]*\\]", string.Empty);
            Assert.That(Json(new PageData(data)), Is.EqualTo(Packed(expected)));
            for (var length = 0; starts.Length > 0 && length < data.Length; ++length)
            {
                var failure = Assert.Throws<PageDataException>(() => new PageData(data.Take(length).ToArray()));
                Assert.That(failure.Offset, Is.EqualTo(starts.Where(start => start <= length).Max()));
            }
        }

        private static byte[] Bytes(IEnumerable<string> lines)
        {
            var all = new List<byte>();
            foreach (string line in lines)
            {
                string[] parts = line.Split('#')[0].Split('*');
                int times = parts.Length == 2 ? int.Parse(parts[0]) : 1;
                string digits = parts.Last().Replace(" ", string.Empty);
                for (var i = 0; i < times * digits.Length; i += 2)
                {
                    all.Add(Convert.ToByte(digits.Substring(i % digits.Length, 2), 16));
                }
            }
            return all.ToArray();
        }

        /// <summary>Without the white space between the tokens.</summary>
        private static string Packed(string json) =>
            Regex.Replace(json, "(\"(?:[^\"\\\\]|\\\\.)*\")|\\s+", match => match.Groups[1].Value);

        private static string Json(PageData data)
        {
            string id = data.PenId == null ? "null" : $"\"0x{data.PenId:x16}\"";
            string serial = data.Serial == null ? "null" : $"\"{data.Serial}\"";
            return $"{{\"request\":{{\"address\":\"{data.RequestAddress}\",\"pidget\":{data.RequestPidget}}}," +
                $"\"penId\":{id},\"serial\":{serial},\"pages\":[{string.Join(",", data.Select(Json))}]," +
                $"\"properties\":[{string.Join(",", data.Properties.Select(Json))}]}}";
        }

        private static string Json(Page page) =>
            $"{{\"address\":\"{page.Address}\",\"stylo\":{(page.IsStylo ? "true" : "false")}," +
            $"\"strokes\":\"{Hex(page.Strokes)}\",\"entries\":[{string.Join(",", page.Entries.Select(Json))}]}}";

        private static string Json(PenProperty property) => $"{{\"key\":{property.Key},{Members(property.Value)}}}";

        private static string Members(PenValue value) => $"\"type\":\"{TypeName(value.Type)}\",\"value\":{Content(value)}";

        private static string TypeName(PenValueType type) =>
            type == PenValueType.Any ? "any type" : Regex.Replace(type.ToString(), "(?<=[a-z])([A-Z])", " $1").ToLowerInvariant();

        private static string Content(PenValue value)
        {
            object content = value.Content;
            if (content is bool flag)
            {
                return flag ? "true" : "false";
            }
            if (content is string)
            {
                return Quoted(string.Concat(value.Bytes.Select(b => (char)b)));
            }
            if (content is ArraySegment<byte> bytes)
            {
                return $"\"{Hex(bytes)}\"";
            }
            if (content is IReadOnlyList<PenValue> elements)
            {
                return "[" + string.Join(",", elements.Select(element => "{" + Members(element) + "}")) + "]";
            }
            return content == null ? "null" : Convert.ToString(content, CultureInfo.InvariantCulture);
        }

        private static string Quoted(string text)
        {
            var quoted = new StringBuilder("\"");
            foreach (char c in text)
            {
                quoted.Append(c == '"' || c == '\\' ? "\\" + c : c < 0x20 || c > 0x7e ? $"\\u{(int)c:x4}" : c.ToString());
            }
            return quoted.Append('"').ToString();
        }

        private static string Hex(IEnumerable<byte> bytes) => string.Concat(bytes.Select(b => b.ToString("x2")));
    }
}
