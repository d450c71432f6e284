using System;
using System.Collections.Generic;
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
        private int typeAt; // where the type was read last
        private int values;
        private int valueHeader = ValueHeader;

        internal PageDataReader(byte[] data)
        {
            this.data = data;
        }

        internal List<Page> Pages { get; } = new List<Page>();

        internal List<PenProperty> Properties { get; } = new List<PenProperty>();

        internal ulong RequestAddress { get; private set; }

        internal int RequestPidget { get; private set; }

        internal int PageCountAt { get; private set; }

        internal void Read()
        {
            Expect(1, "the major version");
            Expect(0, "the minor version");
            int header = Length(Header, "the header's length");
            RequestAddress = Number(8, "the request's address");
            RequestPidget = (int)Number(2, "the request's pidget");
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
                Properties.Add(ReadEntry(entryHeader));
            }
            if (at != data.Length)
            {
                throw new PageDataException(at, BytesText((ulong)(data.Length - at)) + " after the end of the page data");
            }
        }

        private void Expect(ulong expected, string what)
        {
            int start = at;
            ulong found = Number(1, what);
            if (found != expected)
            {
                throw new PageDataException(start, $"{what} is {found}, not {expected}");
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
            int blamed = typeAt;
            for (;;)
            {
                PenValue value = null;
                if (type >= PenValueType.ValueArray && type <= PenValueType.TerminatedArray)
                {
                    if (open.Count == DeepestNesting)
                    {
                        throw new PageDataException(blamed, $"arrays nested more than {DeepestNesting} deep");
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
                OpenArray top = open.Peek();
                type = top.ElementType ?? ReadType();
                blamed = top.ElementType.HasValue ? top.TypeAt : typeAt;
            }
        }

        private OpenArray OpenNewArray(PenValueType type)
        {
            if (type == PenValueType.TerminatedArray)
            {
                return new OpenArray(type, -1, null, 0);
            }
            var count = (int)Number(2, "an array's count");
            PenValueType? elementType = type == PenValueType.DataArray ? ReadType() : (PenValueType?)null;
            return new OpenArray(type, count, elementType, typeAt);
        }

        private PenValueType ReadType()
        {
            typeAt = at;
            var code = (int)Number(1, "a value's type");
            if (code == 12 || code == 13 || code > 15)
            {
                throw new PageDataException(typeAt, $"there is no value type {code}");
            }
            Skip(valueHeader - ValueHeader, "a value's header");
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
                    return new PenValue(type, unchecked((short)Number(2, "a short16")));
                case PenValueType.Int32:
                    return new PenValue(type, unchecked((int)Number(4, "an int32")));
                case PenValueType.Long64:
                    return new PenValue(type, unchecked((long)Number(8, "a long64")));
                case PenValueType.String:
                    return ReadText(Take(Number(2, "a string's length"), "a string"));
                case PenValueType.Binary:
                    return new PenValue(type, Take(Number(4, "a binary's length"), "a binary"));
                case PenValueType.EscapedBinary:
                    return new PenValue(type, Escaped());
                default:
                    return new PenValue(type, null);
            }
        }

        private static PenValue ReadText(ArraySegment<byte> bytes)
        {
            int end = Array.IndexOf(bytes.Array, (byte)0, bytes.Offset, bytes.Count);
            int length = end < 0 ? bytes.Count : end - bytes.Offset;
            string text = Encoding.UTF8.GetString(bytes.Array, bytes.Offset, length);
            return new PenValue(PenValueType.String, text, new ArraySegment<byte>(bytes.Array, bytes.Offset, length));
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

        private static string BytesText(ulong count) => count == 1 ? "1 byte" : $"{count} bytes";

        private void Skip(int count, string what) => Take((ulong)count, what);

        private ArraySegment<byte> Take(ulong count, string what)
        {
            int left = data.Length - at;
            if (count > (ulong)left)
            {
                throw new PageDataException(
                    at,
                    $"{what} should take {BytesText(count)}, but {left} {(left == 1 ? "is" : "are")} left");
            }
            var taken = new ArraySegment<byte>(data, at, (int)count);
            at += (int)count;
            return taken;
        }

        private sealed class OpenArray
        {
            internal OpenArray(PenValueType type, int left, PenValueType? elementType, int typeAt)
            {
                Type = type;
                Left = left;
                ElementType = elementType;
                TypeAt = typeAt;
            }

            internal PenValueType Type { get; }

            internal PenValueType? ElementType { get; }

            /// <summary>Where the elements' type stands.</summary>
            internal int TypeAt { get; }

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
