using System;
using System.Collections;
using System.Collections.Generic;
using System.Diagnostics.CodeAnalysis;
using System.IO;
using System.Linq;

namespace Zel
{
    /// <summary>These bytes are no page data.</summary>
    public sealed class PageDataException : FormatException
    {
        internal PageDataException(int offset, string what)
            : base($"byte {offset}: {what}")
        {
            Offset = offset;
        }

        /// <summary>The byte at which they stop making sense.</summary>
        public int Offset { get; }
    }

    /// <summary>The types of values, as they are numbered in the data.</summary>
    public enum PenValueType
    {
        /// <summary>Nothing.</summary>
        Null = 0,

        /// <summary>A <see cref="bool"/>.</summary>
        Bool = 1,

        /// <summary>A <see cref="byte"/>.</summary>
        Byte = 2,

        /// <summary>A <see cref="short"/>.</summary>
        Short16 = 3,

        /// <summary>An <see cref="int"/>.</summary>
        Int32 = 4,

        /// <summary>A <see cref="long"/>.</summary>
        Long64 = 5,

        /// <summary>A <see cref="string"/>.</summary>
        String = 6,

        /// <summary>Bytes, as <see cref="ArraySegment{Byte}"/>.</summary>
        Binary = 7,

        /// <summary>A list of values.</summary>
        ValueArray = 8,

        /// <summary>A list of values of one type.</summary>
        DataArray = 9,

        /// <summary>A list of values that ends with a terminator.</summary>
        TerminatedArray = 10,

        /// <summary>Nothing; ends an array.</summary>
        Terminator = 11,

        /// <summary>Bytes, as <see cref="ArraySegment{Byte}"/>.</summary>
        EscapedBinary = 14,

        /// <summary>Nothing.</summary>
        Any = 15,
    }

    /// <summary>A typed value.</summary>
    public sealed class PenValue
    {
        internal PenValue(PenValueType type, object content, ArraySegment<byte> bytes = default(ArraySegment<byte>))
        {
            Type = type;
            Content = content;
            Bytes = bytes;
        }

        /// <summary>Its type.</summary>
        public PenValueType Type { get; }

        /// <summary>Its content, whose class <see cref="PenValueType"/> tells; an
        /// <see cref="IReadOnlyList{PenValue}"/> for arrays, and null for types without content.</summary>
        [MaybeNull]
        public object Content { get; }

        /// <summary>A string as the pen wrote it, whatever its encoding; nothing for other types.</summary>
        public ArraySegment<byte> Bytes { get; }
    }

    /// <summary>A property of the pen, or an entry of a page.</summary>
    public sealed class PenProperty
    {
        internal PenProperty(int key, PenValue value)
        {
            Key = key;
            Value = value;
        }

        /// <summary>Its number.</summary>
        public int Key { get; }

        /// <summary>Its value.</summary>
        public PenValue Value { get; }
    }

    /// <summary>A page with its strokes.</summary>
    public sealed class Page
    {
        internal Page(
            ulong rawAddress, bool stylo, ArraySegment<byte> strokes, IReadOnlyList<PenProperty> entries, int start, int end)
        {
            RawAddress = rawAddress;
            IsStylo = stylo;
            Strokes = strokes;
            Entries = entries;
            Start = start;
            End = end;
        }

        /// <summary>"1.2.3.4", with five numbers where the first is not 0.</summary>
        public string Address => PageAddress.ToText(RawAddress);

        /// <summary>The address as one 64-bit number.</summary>
        public ulong RawAddress { get; }

        /// <summary>Whether this is a stylo page, which belongs to no paper.</summary>
        public bool IsStylo { get; }

        /// <summary>The strokes' bytes, a part of <see cref="PageData.Bytes"/>.</summary>
        public ArraySegment<byte> Strokes { get; }

        /// <summary>Further values of the page; the library's own retrievals have none.</summary>
        public IReadOnlyList<PenProperty> Entries { get; }

        internal int Start { get; }

        internal int End { get; }
    }

    /// <summary>
    /// What a retrieval gives: a list of pages, and the properties of the pen that they come from. Reading needs no
    /// native library.
    /// </summary>
    public sealed class PageData : IReadOnlyList<Page>
    {
        private const int PenIdKey = 0;

        private readonly IReadOnlyList<Page> pages;
        private readonly int pageCountAt;

        /// <summary>Reads page data.</summary>
        /// <param name="bytes">The data; it must not be changed afterwards.</param>
        /// <exception cref="PageDataException">It is no page data.</exception>
        public PageData(byte[] bytes)
        {
            Bytes = bytes ?? throw new ArgumentNullException(nameof(bytes));
            var reader = new PageDataReader(bytes);
            reader.Read();
            pages = reader.Pages;
            Properties = reader.Properties;
            RequestAddress = PageAddress.ToText(reader.RequestAddress);
            RequestPidget = reader.RequestPidget;
            pageCountAt = reader.PageCountAt;
        }

        /// <summary>The data itself; what <see cref="Save"/> writes.</summary>
        public byte[] Bytes { get; }

        /// <summary>The page address that the data was requested for; retrievals write "*.*.*.*".</summary>
        public string RequestAddress { get; }

        /// <summary>The pidget that the data was requested for; retrievals write 549.</summary>
        public int RequestPidget { get; }

        /// <summary>The pen's properties, in the order in which they stand.</summary>
        public IReadOnlyList<PenProperty> Properties { get; }

        /// <summary>The 64-bit identity of the pen, if the data tells.</summary>
        public ulong? PenId => Find(PenIdKey)?.Value.Content is long id ? unchecked((ulong)id) : (ulong?)null;

        /// <summary>The serial text of the pen, or null if the data does not tell.</summary>
        [MaybeNull]
        public string Serial => PenId.HasValue ? SerialText.Of(PenId.Value) : null;

        /// <summary>The number of pages.</summary>
        public int Count => pages.Count;

        /// <summary>A page.</summary>
        /// <param name="index">Its number, from 0.</param>
        public Page this[int index] => pages[index];

        /// <summary>Reads a file that <see cref="Save"/> wrote, or any other that holds page data.</summary>
        /// <param name="path">The file.</param>
        public static PageData Read(string path) => new PageData(File.ReadAllBytes(path));

        /// <summary>The first property with this key, or null.</summary>
        /// <param name="key">Its number.</param>
        public PenProperty Find(int key) => Properties.FirstOrDefault(property => property.Key == key);

        /// <summary>Goes through the pages.</summary>
        public IEnumerator<Page> GetEnumerator() => pages.GetEnumerator();

        IEnumerator IEnumerable.GetEnumerator() => GetEnumerator();

        /// <summary>Writes the data to a file, which is complete or not there at all.</summary>
        /// <param name="path">The file; one that is there is replaced.</param>
        public void Save(string path)
        {
            string part = path + ".part";
            try
            {
                File.WriteAllBytes(part, Bytes);
                if (File.Exists(path))
                {
                    File.Replace(part, path, null);
                }
                else
                {
                    File.Move(part, path);
                }
            }
            catch
            {
                File.Delete(part);
                throw;
            }
        }

        /// <summary>Page data that lacks the pages with these addresses.</summary>
        internal PageData Without(ICollection<string> addresses)
        {
            var kept = new MemoryStream(Bytes.Length);
            int at = 0, left = 0;
            foreach (Page page in pages)
            {
                if (addresses.Contains(page.Address))
                {
                    kept.Write(Bytes, at, page.Start - at);
                    at = page.End;
                }
                else
                {
                    ++left;
                }
            }
            kept.Write(Bytes, at, Bytes.Length - at);
            byte[] bytes = kept.ToArray();
            bytes[pageCountAt] = (byte)(left >> 8);
            bytes[pageCountAt + 1] = (byte)left;
            return new PageData(bytes);
        }
    }
}
