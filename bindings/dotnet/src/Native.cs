using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Zel
{
    /// <summary>
    /// Calls of the native library with their results tested and what they hand out taken over: nothing above this
    /// class sees a pointer.
    /// </summary>
    internal static class Native
    {
        internal const string ApiVersion = "1.0.0.0_6";

        /// <summary>A text travels with 16 bits of length, its terminating NUL counted.</summary>
        private const int LongestText = 65534;

        internal delegate uint TextGetter(PenHandle pen, out IntPtr text);

        internal delegate uint FlagGetter(PenHandle pen, out byte flag);

        internal delegate uint BlockGetter(out IntPtr data, out uint length);

        private delegate uint Release(ref IntPtr block);

        internal static void Check(uint code, string operation)
        {
            if (code != 0)
            {
                throw ZelException.From(code, operation);
            }
        }

        internal static void CheckVersion()
        {
            Check(NativeMethods.zelGetApiVersion(out IntPtr text), "zelGetApiVersion");
            string version = TakeText(text);
            if (version != ApiVersion)
            {
                throw new DllNotFoundException($"The zel library found offers version {version}, not {ApiVersion}.");
            }
        }

        internal static string TakeText(IntPtr text) => Take(text, NativeMethods.zelFreeString);

        internal static string TakePageList(IntPtr text) => Take(text, NativeMethods.zelFreePageList);

        internal static byte[] TakeBlock(BlockGetter get, string operation)
        {
            uint code = get(out IntPtr data, out uint length);
            try
            {
                Check(code, operation);
                if (length > int.MaxValue)
                {
                    throw ZelException.From(
                        (uint)ResultCode.Unexpected, operation, $"{length} bytes are more than an array can hold.");
                }
                var bytes = new byte[length];
                if (data != IntPtr.Zero)
                {
                    Marshal.Copy(data, bytes, 0, bytes.Length);
                }
                return bytes;
            }
            finally
            {
                NativeMethods.zelFreePageData(ref data);
            }
        }

        /// <summary>A text argument, with its NUL: neither a NUL within nor more bytes than a text can carry.</summary>
        internal static byte[] Text(string value, string name)
        {
            if (value == null)
            {
                throw new ArgumentNullException(name);
            }
            if (value.IndexOf('\0') >= 0)
            {
                throw new ArgumentException("The text contains a NUL.", name);
            }
            int count = Encoding.UTF8.GetByteCount(value);
            if (count > LongestText)
            {
                throw new ArgumentException($"The text has {count} bytes; {LongestText} are the most.", name);
            }
            var bytes = new byte[count + 1];
            Encoding.UTF8.GetBytes(value, 0, value.Length, bytes, 0);
            return bytes;
        }

        internal static byte[] Data(byte[] value, string name) => value ?? throw new ArgumentNullException(name);

        private static string Take(IntPtr text, Release release)
        {
            try
            {
                return text == IntPtr.Zero ? string.Empty : Decode(text);
            }
            finally
            {
                release(ref text);
            }
        }

        // Pens do not tell their encoding; UTF-8 is what they are known to use. Bytes that are none become U+FFFD.
        private static string Decode(IntPtr text)
        {
            var length = 0;
            while (Marshal.ReadByte(text, length) != 0)
            {
                ++length;
            }
            var bytes = new byte[length];
            Marshal.Copy(text, bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }
    }
}
