using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using NUnit.Framework;

namespace Zel.Tests
{
    /// <summary>Page data, byte by byte. Every expected byte is written by hand.</summary>
    [TestFixture]
    public sealed class PageDataTest
    {
        // Without pages and properties: 26 bytes. Version 1.0; header length, counted from itself; every page, pidget
        // 549; lengths of a page's header, an entry's, a property's, a value's; pages; properties.
        private const string Empty = "0100 0018 ffffffffffffffff0225 000f 0002 0002 0001 0000 0000";
        private const string Head = "0100 0018 ffffffffffffffff0225 000f 0002 0002 0001 ";

        // 1.2.3.4; 3 bytes of strokes; no stylo page; no entries.
        private const string Page = "0000010002003004 00000003 00 0000 aabbcc";

        [Test]
        public void NoPagesAndNoProperties()
        {
            PageData data = Read(Empty);
            Assert.That(data.Count, Is.EqualTo(0));
            Assert.That(data.Properties, Is.Empty);
            Assert.That(data.PenId, Is.Null);
        }

        [Test]
        public void APageIsItsAddressAndItsStrokes()
        {
            PageData data = Read(Head + "0001 0000" + Page);
            Assert.That(data[0].Address, Is.EqualTo("1.2.3.4"));
            Assert.That(data[0].RawAddress, Is.EqualTo(0x0000010002003004ul));
            Assert.That(data[0].IsStylo, Is.False);
            Assert.That(data[0].Strokes.ToArray(), Is.EqualTo(new byte[] { 0xaa, 0xbb, 0xcc }));
            Assert.That(data[0].Strokes.Array, Is.SameAs(data.Bytes));
        }

        [Test]
        public void APageWhoseFlagIsSetIsAStyloPage()
        {
            PageData data = Read(Head + "0001 0000 0000000002003004 00000000 01 0001 0225 0107");
            Assert.That(data[0].IsStylo);
            Assert.That(data[0].Entries[0].Key, Is.EqualTo(0x225));
            Assert.That(data[0].Entries[0].Value.Content, Is.EqualTo(true));
        }

        [Test]
        public void PagesThatAreTakenOutLeavePageData()
        {
            const string Second = "0000010002003005 00000001 00 0000 dd";
            PageData data = Read(Head + "0002 0000" + Page + Second);
            Assert.That(data.Without(new[] { "1.2.3.4" }).Bytes, Is.EqualTo(Bytes(Head + "0001 0000" + Second)));
            Assert.That(data.Without(new[] { "1.2.3.5" }).Bytes, Is.EqualTo(Bytes(Head + "0001 0000" + Page)));
        }

        [TestCase("00", PenValueType.Null, null)]
        [TestCase("01 02", PenValueType.Bool, true)]
        [TestCase("02 ff", PenValueType.Byte, (byte)255)]
        [TestCase("03 fffe", PenValueType.Short16, (short)-2)]
        [TestCase("04 00000007", PenValueType.Int32, 7)]
        [TestCase("05 0000000000000007", PenValueType.Long64, 7L)]
        [TestCase("06 0004 61626300", PenValueType.String, "abc")]
        [TestCase("06 0003 610062", PenValueType.String, "a")]
        [TestCase("06 0000", PenValueType.String, "")]
        [TestCase("0b", PenValueType.Terminator, null)]
        [TestCase("0f", PenValueType.Any, null)]
        public void Scalars(string encoded, PenValueType type, object content)
        {
            PenValue value = Value(encoded);
            Assert.That(value.Type, Is.EqualTo(type));
            Assert.That(value.Content, Is.EqualTo(content));
        }

        [TestCase("07 00000003 010203", "010203")]
        [TestCase("0e dbdc dbdd 41 c0", "c0db41")]
        public void Binaries(string encoded, string content)
        {
            Assert.That(((ArraySegment<byte>)Value(encoded).Content).ToArray(), Is.EqualTo(Bytes(content)));
        }

        [TestCase("08 0002 0400000007 00", 2)]
        [TestCase("08 0003 0400000007 0b 00", 3)] // counted: the terminator is an element
        [TestCase("09 0002 04 00000007 00000007", 2)]
        [TestCase("09 0000 00", 0)]
        [TestCase("0a 0400000007 0b", 1)]
        [TestCase("0a 0400000007 0f", 1)]
        public void Arrays(string encoded, int count)
        {
            var elements = (IReadOnlyList<PenValue>)Value(encoded).Content;
            Assert.That(elements.Count, Is.EqualTo(count));
            Assert.That(elements.Take(1).Select(element => element.Content), Is.All.EqualTo(7));
        }

        [Test]
        public void ArraysMayBeNested256DeepAndNoDeeper()
        {
            PenValue value = Value(string.Concat(Enumerable.Repeat("080001", 256)) + "00");
            for (var i = 0; i < 256; ++i)
            {
                value = ((IReadOnlyList<PenValue>)value.Content)[0];
            }
            Assert.That(value.Type, Is.EqualTo(PenValueType.Null));
            var failure = Assert.Throws<PageDataException>(
                () => Value(string.Concat(Enumerable.Repeat("080001", 257)) + "00"));
            Assert.That(failure.Offset, Is.EqualTo(26 + 2 + (256 * 3)));
        }

        [Test]
        public void LongerHeadersAreSkipped()
        {
            PageData data = Read(
                "0100 001a ffffffffffffffff0225 0010 0003 0003 0002 0001 0001 eeee" +
                "0000010002003004 00000001 00 0001 ee aa 0001 ee 01 ee 01" +
                "0024 ee 09 ee 0001 04 ee 00000007");
            Assert.That(data[0].Strokes.ToArray(), Is.EqualTo(new byte[] { 0xaa }));
            Assert.That(data[0].Entries[0].Value.Content, Is.EqualTo(true));
            Assert.That(((IReadOnlyList<PenValue>)data.Find(0x24).Value.Content)[0].Content, Is.EqualTo(7));
        }

        [Test]
        public void EveryCutIsRefusedAtAByteWithinIt()
        {
            byte[] whole = Bytes(Head + "0001 0001" + Page + "0024 08 0002 06 0002 6100 0e dbdc c0");
            Assert.That(new PageData(whole).Count, Is.EqualTo(1));
            for (var length = 0; length < whole.Length; ++length)
            {
                var failure = Assert.Throws<PageDataException>(() => new PageData(whole.Take(length).ToArray()));
                Assert.That(failure.Offset, Is.LessThanOrEqualTo(length));
            }
        }

        [TestCase("", 0, "the major version should take 1 byte, but 0 are left")]
        [TestCase("0101", 1, "the minor version is 1, not 0")]
        [TestCase("0100 0017", 2, "the header's length is 23, less than 24")]
        [TestCase(Empty + "00", 26, "1 byte after the end of the page data")]
        [TestCase(Head + "0000 0001 0024 0c", 28, "there is no value type 12")]
        [TestCase(Head + "0000 0001 0024 10", 28, "there is no value type 16")]
        [TestCase(Head + "0000 0001 0024 0e db41", 30, "41 after an escape in an escaped binary")]
        [TestCase(Head + "0000 0001 0024 07 ffffffff 00", 33, "a binary should take 4294967295 bytes, but 1 is left")]
        public void WhatIsNoPageDataIsRefusedAtItsByte(string encoded, int offset, string what)
        {
            var failure = Assert.Throws<PageDataException>(() => Read(encoded));
            Assert.That(failure.Offset, Is.EqualTo(offset));
            Assert.That(failure.Message, Is.EqualTo($"byte {offset}: {what}"));
        }

        [Test]
        public void AFewBytesThatStandForMillionsOfValuesAreRefused()
        {
            Assert.Throws<PageDataException>(
                () => Value("08 0010" + string.Concat(Enumerable.Repeat("09 ffff 00", 16))));
        }

        [Test]
        public void MangledBytesThrowNothingElse()
        {
            byte[] whole = Bytes(Head + "0001 0001" + Page + "0024 0a 06 0002 6100 0e dbdc c0 0b");
            for (var at = 0; at < whole.Length; ++at)
            {
                for (var value = 0; value < 256; ++value)
                {
                    var mangled = (byte[])whole.Clone();
                    mangled[at] = (byte)value;
                    try
                    {
                        GC.KeepAlive(new PageData(mangled));
                    }
                    catch (PageDataException)
                    {
                    }
                }
            }
        }

        [Test]
        public void AFileThatCannotBeWrittenLeavesNothing()
        {
            string folder = Path.Combine(Path.GetTempPath(), Guid.NewGuid().ToString("N"));
            Directory.CreateDirectory(Path.Combine(folder, "taken"));
            Assert.That(() => Read(Empty).Save(Path.Combine(folder, "none", "a")), Throws.InstanceOf<IOException>());
            Assert.That(() => Read(Empty).Save(Path.Combine(folder, "taken")), Throws.Exception);
            Assert.That(Directory.GetFileSystemEntries(folder), Is.EqualTo(new[] { Path.Combine(folder, "taken") }));
            Directory.Delete(folder, true);
        }

        private static byte[] Bytes(string digits)
        {
            string packed = digits.Replace(" ", string.Empty);
            return Enumerable.Range(0, packed.Length / 2).Select(i => Convert.ToByte(packed.Substring(2 * i, 2), 16)).ToArray();
        }

        private static PageData Read(string digits) => new PageData(Bytes(digits));

        private static PenValue Value(string encoded) => Read(Head + "0000 0001 0024" + encoded).Find(0x24).Value;
    }
}
