using System;
using System.Runtime.InteropServices;

namespace Zel
{
    /// <summary>Called on a thread of the native library.</summary>
    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate void RecordCallback(IntPtr record, IntPtr context);

    /// <summary>Called on the thread that retrieves pages.</summary>
    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate void NativeProgress(IntPtr penText, uint bytesSoFar, uint bytesTotal);

    /// <summary>Every function of zel.h, and nothing else.</summary>
    internal static class NativeMethods
    {
        private const string Library = "zel";

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelInitialize(
            RecordCallback arrived, RecordCallback departed, IntPtr callbackContext);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelExit();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetApiVersion(out IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelEnumeratePens();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelFreeString(ref IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelFreePageList(ref IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelFreePageData(ref IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelFreeDiscoveryHandle(ref IntPtr record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetDevicePenSerial(RecordHandle record, out IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetDeviceVidAndPid(
            RecordHandle record, out ushort vendorId, out ushort productId);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelConnectPen(RecordHandle record, out IntPtr pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDisconnectPen(ref IntPtr pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPenSerial(PenHandle pen, out IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPenProductName(PenHandle pen, out IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetTime(PenHandle pen, ulong millis);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetTime(PenHandle pen, out ulong penTime, out ulong systemTime);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetBluetoothEnabled(PenHandle pen, byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetBluetoothEnabled(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetBluetoothDiscoverableAllowed(PenHandle pen, byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetBluetoothDiscoverableAllowed(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetBluetoothPin(PenHandle pen, byte[] pin);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetBluetoothPin(PenHandle pen, out IntPtr pin);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetAutoPowerOff(PenHandle pen, ushort value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetAutoPowerOff(PenHandle pen, out ushort value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetWakeUpTime(PenHandle pen, uint seconds);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetWakeUpTime(PenHandle pen, out uint seconds);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPenRevisions(
            PenHandle pen, out IntPtr revision0, out IntPtr revision1, out IntPtr revision3, out IntPtr revision5);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPageList(PenHandle pen, out IntPtr text, out uint totalBytes);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPages(
            PenHandle pen, byte[] addresses, NativeProgress progress, out IntPtr data, out uint length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetAllPages(
            PenHandle pen, NativeProgress progress, out IntPtr data, out uint length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelRemovePage(PenHandle pen, byte[] address);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelRemoveAllStrokes(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelUnlockPen(PenHandle pen, byte[] password);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetPasswordData(
            PenHandle pen, byte[] current, byte[] newPassword, byte[] hint);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelRemovePasswordData(PenHandle pen, byte[] current);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPasswordHint(PenHandle pen, out IntPtr hint);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetPenLockedStatus(PenHandle pen, out byte locked);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelInstallCertificateAuthenticator(
            PenHandle pen, byte[] data1, uint length1, byte[] data2, uint length2);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelHasCertificateAuthenticator(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelInstallSigningKey(
            PenHandle pen, ushort number, byte[] data1, uint length1, byte[] data2, uint length2, byte[] data3,
            uint length3, byte[] data4, uint length4, byte[] data5, uint length5, byte[] data6, uint length6,
            byte[] data7, uint length7, byte[] data8, uint length8);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelHasSigningKey(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelClearSigningKey(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelInstallCertificate(PenHandle pen, byte[] data, uint length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetCertificateInfo(
            PenHandle pen, out ushort number, out ulong value1, out ulong value2);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelClearCertificate(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelHasEncryptedData(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetEncryptedData(
            PenHandle pen, ulong argument, out IntPtr data, out uint length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelClearEncryptedData(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelSetUserData(PenHandle pen, byte[] textA, byte[] textB, byte[] textC);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetUserData(
            PenHandle pen, out IntPtr textA, out IntPtr textB, out IntPtr textC);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetMemoryStatus(PenHandle pen, out ulong used, out ulong total);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetBatteryStatus(
            PenHandle pen, out ushort value0, out ushort value1, out ushort value2, out ushort value3,
            out ushort value4);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelGetSecureDeleteEnabled(PenHandle pen, out byte flag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuInit(
            IntPtr callbackContext, RecordCallback arrived, RecordCallback departed);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuExit();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuConnectPen(out IntPtr pen, RecordHandle record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuDisconnectPen(ref IntPtr pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuGetMode(RecordHandle record, out byte mode);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuResetPort(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuAbort(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuClearStatus(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuDetach(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuDetachBoot(PenHandle pen);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuGetState(PenHandle pen, out int state);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuGetStatus(PenHandle pen, [Out] byte[] status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuGetFunctionalDescriptor(PenHandle pen, [Out] byte[] descriptor);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint zelDfuDownload(PenHandle pen, byte[] block);
    }
}
