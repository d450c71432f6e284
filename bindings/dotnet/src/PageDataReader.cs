using System;
using System.Collections.Generic;
using System.Globalization;
using System.Text;

namespace Zel
{
    /// <summary>Reads one run of bytes, once. Knows at every moment which byte it is at.</summary>
    internal sealed class PageDataReader
    {
        private const int DeepestNesting = 256;
        private const int MostValues = 1000000;

        // The shortest that each header can be; a longer one has fields that a later writer added, which are skipped.
        private const int Header = 24;
        private const int PageHeader = 15;
        private const int EntryHeader = 2;
        private const int ValueHeader = 1;

        private readonly byte[] data;
        private int at;
        private int values;
        private int valueHeader = ValueHeader;

        internal PageDataReader(byte[] data)
        {
            this.data = data;
        }

        internal List<Page> Pages { get; } = new List<Page>();

        internal Dictionary<int, PenProperty> Properties { get; } = new Dictionary<int, PenProperty>();

        internal int PageCountAt { get; private set; }

        internal void Read()
        {
            ulong major = Number(1, "the version"), minor = Number(1, "the version");
            if (major != 1 || minor != 0)
            {
                throw new PageDataException(
                    0, $"not page data of version 1.0 (it begins with {major:X2} {minor:X2})");
            }
            int header = Length(Header, "the header's length");
            Skip(10, "the request's address");
            int pageHeader = Length(PageHeader, "the length of a page's header");
            int pageEntryHeader = Length(EntryHeader, "the length of a page entry's header");
            int entryHeader = Length(EntryHeader, "the length of a property's header");
            valueHeader = Length(ValueHeader, "the length of a value's header");
            PageCountAt = at;
            var pageCount = (int)Number(2, "the number of pages");
            var propertyCount = (int)Number(2, "the number of properties");
            Skip(header - Header, "the header");
            for (var i = 0; i < pageCount; ++i)
            {
                Pages.Add(ReadPage(pageHeader, pageEntryHeader));
            }
            for (var i = 0; i < propertyCount; ++i)
            {
                PenProperty found = ReadEntry(entryHeader);
                if (!Properties.ContainsKey(found.Key))
                {
                    Properties.Add(found.Key, found);
                }
            }
            if (at != data.Length)
            {
                throw new PageDataException(at, $"{data.Length - at} more bytes after the end of the page data");
            }
        }

        private Page ReadPage(int header, int entryHeader)
        {
            int start = at;
            ulong address = Number(8, "a page's address");
            ulong size = Number(4, "a page's length");
            ulong flag = Number(1, "a page's flag");
            var entryCount = (int)Number(2, "the number of a page's entries");
            Skip(header - PageHeader, "a page's header");
            ArraySegment<byte> strokes = Take(size, "a page's strokes");
            var entries = new List<PenProperty>();
            for (var i = 0; i < entryCount; ++i)
            {
                entries.Add(ReadEntry(entryHeader));
            }
            return new Page(address, flag != 0, strokes, entries, start, at);
        }

        private PenProperty ReadEntry(int header)
        {
            var key = (int)Number(2, "an entry's key");
            Skip(header - EntryHeader, "an entry's header");
            return new PenProperty(key, ReadValue());
        }

        /// <summary>A loop with a stack of its own: arrays may be nested deeper than is wise to call.</summary>
        private PenValue ReadValue()
        {
            var open = new Stack<OpenArray>();
            PenValueType type = ReadType();
            for (;;)
            {
                PenValue value = null;
                if (type >= PenValueType.ValueArray && type <= PenValueType.TerminatedArray)
                {
                    if (open.Count == DeepestNesting)
                    {
                        throw new PageDataException(at, $"arrays nested more than {DeepestNesting} deep");
                    }
                    CountValue();
                    open.Push(OpenNewArray(type));
                }
                else
                {
                    value = ReadScalar(type);
                }
                while (value != null || open.Peek().Left == 0)
                {
                    if (value == null)
                    {
                        OpenArray done = open.Pop();
                        value = new PenValue(done.Type, done.Elements);
                    }
                    if (open.Count == 0)
                    {
                        return value;
                    }
                    open.Peek().Add(value);
                    value = null;
                }
                type = open.Peek().ElementType ?? ReadType();
            }
        }

        private OpenArray OpenNewArray(PenValueType type)
        {
            if (type == PenValueType.TerminatedArray)
            {
                return new OpenArray(type, -1, null);
            }
            var count = (int)Number(2, "an array's count");
            return new OpenArray(type, count, type == PenValueType.DataArray ? ReadType() : (PenValueType?)null);
        }

        private PenValueType ReadType()
        {
            int start = at;
            var code = (int)Number(1, "a value's type");
            Skip(valueHeader - ValueHeader, "a value's header");
            if (code == 12 || code == 13 || code > 15)
            {
                throw new PageDataException(start, $"there is no value type {code}");
            }
            return (PenValueType)code;
        }

        private void CountValue()
        {
            if (++values > MostValues)
            {
                throw new PageDataException(at, $"more than {MostValues} values");
            }
        }

        private PenValue ReadScalar(PenValueType type)
        {
            CountValue();
            switch (type)
            {
                case PenValueType.Bool:
                    return new PenValue(type, Number(1, "a bool") != 0);
                case PenValueType.Byte:
                    return new PenValue(type, (byte)Number(1, "a byte"));
                case PenValueType.Short16:
                    return new PenValue(type, (ushort)Number(2, "a short16"));
                case PenValueType.Int32:
                    return new PenValue(type, (uint)Number(4, "an int32"));
                case PenValueType.Long64:
                    return new PenValue(type, Number(8, "a long64"));
                case PenValueType.String:
                    return new PenValue(type, Text(Take(Number(2, "a string's length"), "a string")));
                case PenValueType.Binary:
                    return new PenValue(type, Take(Number(4, "a binary's length"), "a binary"));
                case PenValueType.EscapedBinary:
                    return new PenValue(type, Escaped());
                default:
                    return new PenValue(type, null);
            }
        }

        private static string Text(ArraySegment<byte> bytes)
        {
            int end = Array.IndexOf(bytes.Array, (byte)0, bytes.Offset, bytes.Count);
            return Encoding.UTF8.GetString(bytes.Array, bytes.Offset, end < 0 ? bytes.Count : end - bytes.Offset);
        }

        private ArraySegment<byte> Escaped()
        {
            var found = new List<byte>();
            for (;;)
            {
                var next = (byte)Number(1, "an escaped binary");
                if (next == 0xC0)
                {
                    return new ArraySegment<byte>(found.ToArray());
                }
                if (next == 0xDB)
                {
                    int start = at;
                    next = (byte)Number(1, "an escaped binary");
                    if (next != 0xDC && next != 0xDD)
                    {
                        throw new PageDataException(start, $"{next:X2} after an escape in an escaped binary");
                    }
                    next = next == 0xDC ? (byte)0xC0 : (byte)0xDB;
                }
                found.Add(next);
            }
        }

        private int Length(int least, string what)
        {
            int start = at;
            var length = (int)Number(2, what);
            if (length < least)
            {
                throw new PageDataException(start, $"{what} is {length}, less than {least}");
            }
            return length;
        }

        private ulong Number(int width, string what)
        {
            ArraySegment<byte> bytes = Take((ulong)width, what);
            ulong number = 0;
            for (var i = 0; i < width; ++i)
            {
                number = number << 8 | bytes.Array[bytes.Offset + i];
            }
            return number;
        }

        private void Skip(int count, string what) => Take((ulong)count, what);

        private ArraySegment<byte> Take(ulong count, string what)
        {
            int left = data.Length - at;
            if (count > (ulong)left)
            {
                throw new PageDataException(
                    at,
                    string.Format(CultureInfo.InvariantCulture, "{0} should take {1} bytes, but {2} are left", what, count, left));
            }
            var taken = new ArraySegment<byte>(data, at, (int)count);
            at += (int)count;
            return taken;
        }

        private sealed class OpenArray
        {
            internal OpenArray(PenValueType type, int left, PenValueType? elementType)
            {
                Type = type;
                Left = left;
                ElementType = elementType;
            }

            internal PenValueType Type { get; }

            internal PenValueType? ElementType { get; }

            internal List<PenValue> Elements { get; } = new List<PenValue>();

            /// <summary>Elements to come; below 0 when only a terminator tells the end.</summary>
            internal int Left { get; private set; }

            internal void Add(PenValue value)
            {
                if (Left < 0 && (value.Type == PenValueType.Terminator || value.Type == PenValueType.Any))
                {
                    Left = 0;
                    return;
                }
                Elements.Add(value);
                --Left;
            }
        }
    }
}
