using System;
using System.Diagnostics.CodeAnalysis;

namespace Zel
{
    /// <summary>The native library's result codes.</summary>
    public enum ResultCode
    {
        /// <summary>The function succeeded.</summary>
        Ok = 0,

        /// <summary>An argument cannot be used, or the pen did not do what it was asked.</summary>
        InvalidArgument = 1,

        /// <summary>The pen is locked by its password.</summary>
        PenLocked = 2,

        /// <summary>The connection to the pen failed or is lost.</summary>
        Communication = 3,

        /// <summary>The pen does not support this function.</summary>
        NotSupported = 4,

        /// <summary>The library is not initialised.</summary>
        NotInitialized = 5,

        /// <summary>The library is already initialised.</summary>
        AlreadyInitialized = 6,

        /// <summary>A number or a PIN is outside its range.</summary>
        ValueOutOfRange = 8,

        /// <summary>The pen is busy and did not begin a sync session; try again later.</summary>
        SyncBusy = 9,

        /// <summary>The library does not support pens with this USB identity.</summary>
        DeviceNotSupported = 10,

        /// <summary>The call failed unexpectedly: no memory, or an answer that makes no sense.</summary>
        Unexpected = 11,
    }

    /// <summary>
    /// A call of the library failed. Codes that programs tell apart have a type of their own, derived from this.
    /// </summary>
    public class ZelException : Exception
    {
        // As in zel/zel_result.h; a test compares the two tables.
        private static readonly string[] Names =
        {
            "ZEL_OK", "ZEL_ERR_INVALID_ARGUMENT", "ZEL_ERR_PEN_LOCKED", "ZEL_ERR_COMMUNICATION",
            "ZEL_ERR_NOT_SUPPORTED", "ZEL_ERR_NOT_INITIALIZED", "ZEL_ERR_ALREADY_INITIALIZED", null,
            "ZEL_ERR_VALUE_OUT_OF_RANGE", "ZEL_ERR_SYNC_BUSY", "ZEL_ERR_DEVICE_NOT_SUPPORTED", "ZEL_ERR_UNEXPECTED",
        };

        private static readonly string[] Texts =
        {
            "The function succeeded.",
            "An argument cannot be used, or the pen did not do what it was asked.",
            "The pen is locked by its password.",
            "The connection to the pen failed or is lost.",
            "The pen does not support this function.",
            "The library is not initialised.",
            "The library is already initialised.",
            null,
            "A number or a PIN is outside its range.",
            "The pen is busy and did not begin a sync session; try again later.",
            "The library does not support pens with this USB identity.",
            "The call failed unexpectedly: no memory, or an answer that makes no sense.",
        };

        /// <summary>Makes the exception for a failed operation.</summary>
        /// <param name="code">The result code.</param>
        /// <param name="operation">What was called, such as "zelGetAllPages".</param>
        /// <param name="text">What happened, in a sentence; the code's own sentence when left out.</param>
        public ZelException(ResultCode code, string operation, [AllowNull] string text = null)
            : base($"{operation}: {text ?? TextOf(code)} ({(int)code}, {NameOf(code)})")
        {
            Code = code;
            Operation = operation;
            Text = text ?? TextOf(code);
        }

        /// <summary>The result code.</summary>
        public ResultCode Code { get; }

        /// <summary>The code's constant in zel.h, such as "ZEL_ERR_PEN_LOCKED".</summary>
        public string Name => NameOf(Code);

        /// <summary>What was called, such as "zelGetAllPages".</summary>
        public string Operation { get; }

        /// <summary>What happened, in a sentence; the code's own sentence where no more is known.</summary>
        public string Text { get; }

        /// <summary>Names a result code: its constant in zel.h, or "unknown".</summary>
        /// <param name="code">Any number.</param>
        public static string NameOf(ResultCode code) => Find(Names, code) ?? "unknown";

        /// <summary>Explains a result code in a sentence.</summary>
        /// <param name="code">Any number.</param>
        public static string TextOf(ResultCode code) =>
            Find(Texts, code) ?? "This number is not a result code of the library.";

        internal static ZelException From(uint code, string operation, string text = null)
        {
            var result = (ResultCode)code;
            switch (result)
            {
                case ResultCode.InvalidArgument:
                    return new PenArgumentException(operation, text);
                case ResultCode.PenLocked:
                    return new PenLockedException(operation, text);
                case ResultCode.Communication:
                    return new PenCommunicationException(operation, text);
                case ResultCode.NotSupported:
                    return new PenNotSupportedException(operation, text);
                case ResultCode.SyncBusy:
                    return new PenBusyException(operation, text);
                default:
                    return new ZelException(result, operation, text);
            }
        }

        private static string Find(string[] table, ResultCode code) =>
            (uint)code < (uint)table.Length ? table[(int)code] : null;
    }

    /// <summary>An argument cannot be used, or the pen did not do what it was asked (code 1).</summary>
    public sealed class PenArgumentException : ZelException
    {
        internal PenArgumentException(string operation, string text)
            : base(ResultCode.InvalidArgument, operation, text)
        {
        }
    }

    /// <summary>The pen is locked by its password (code 2).</summary>
    public sealed class PenLockedException : ZelException
    {
        internal PenLockedException(string operation, string text)
            : base(ResultCode.PenLocked, operation, text)
        {
        }
    }

    /// <summary>The connection to the pen failed or is lost (code 3).</summary>
    public sealed class PenCommunicationException : ZelException
    {
        internal PenCommunicationException(string operation, string text)
            : base(ResultCode.Communication, operation, text)
        {
        }
    }

    /// <summary>The pen does not support this function (code 4).</summary>
    public sealed class PenNotSupportedException : ZelException
    {
        internal PenNotSupportedException(string operation, string text)
            : base(ResultCode.NotSupported, operation, text)
        {
        }
    }

    /// <summary>The pen is busy and did not begin a sync session; try again later (code 9).</summary>
    public sealed class PenBusyException : ZelException
    {
        internal PenBusyException(string operation, string text)
            : base(ResultCode.SyncBusy, operation, text)
        {
        }
    }
}
