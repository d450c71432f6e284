using System;
using System.Collections.Generic;
using System.Diagnostics.CodeAnalysis;
using System.Linq;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Zel
{
    /// <summary>How far a retrieval has come.</summary>
    public struct FetchProgress
    {
        internal FetchProgress(long bytesSoFar, long bytesTotal)
        {
            BytesSoFar = bytesSoFar;
            BytesTotal = bytesTotal;
        }

        /// <summary>Bytes of strokes fetched.</summary>
        public long BytesSoFar { get; }

        /// <summary>Bytes of strokes to fetch.</summary>
        public long BytesTotal { get; }
    }

    /// <summary>Four of a pen's revision texts, by their place in the pen's list.</summary>
    public sealed class Revisions
    {
        internal Revisions(string revision0, string hardware, string revision3, string revision5)
        {
            Revision0 = revision0;
            Hardware = hardware;
            Revision3 = revision3;
            Revision5 = revision5;
        }

        /// <summary>Number 0.</summary>
        public string Revision0 { get; }

        /// <summary>Number 1, the hardware's.</summary>
        public string Hardware { get; }

        /// <summary>Number 3.</summary>
        public string Revision3 { get; }

        /// <summary>Number 5.</summary>
        public string Revision5 { get; }
    }

    /// <summary>A pen's memory, in bytes.</summary>
    public struct PenMemory
    {
        internal PenMemory(ulong used, ulong total)
        {
            Used = used;
            Total = total;
        }

        /// <summary>Bytes in use. Huge on a pen that tells more free memory than it has.</summary>
        public ulong Used { get; }

        /// <summary>All bytes.</summary>
        public ulong Total { get; }
    }

    /// <summary>What describes a certificate, in the pen's order.</summary>
    public struct CertificateInfo
    {
        internal CertificateInfo(int number, ulong value1, ulong value2)
        {
            Number = number;
            Value1 = value1;
            Value2 = value2;
        }

        /// <summary>The first number.</summary>
        public int Number { get; }

        /// <summary>The second number.</summary>
        public ulong Value1 { get; }

        /// <summary>The third number.</summary>
        public ulong Value2 { get; }
    }

    /// <summary>The three texts of a pen's owner.</summary>
    public sealed class UserData
    {
        /// <summary>Makes a set of three texts.</summary>
        /// <param name="a">The first.</param>
        /// <param name="b">The second.</param>
        /// <param name="c">The third.</param>
        public UserData(string a, string b, string c)
        {
            A = a;
            B = b;
            C = c;
        }

        /// <summary>The first text.</summary>
        public string A { get; }

        /// <summary>The second text.</summary>
        public string B { get; }

        /// <summary>The third text.</summary>
        public string C { get; }
    }

    /// <summary>The pages that hold strokes.</summary>
    public sealed class PageList
    {
        internal PageList(IReadOnlyList<string> addresses, long totalBytes)
        {
            Addresses = addresses;
            TotalBytes = totalBytes;
        }

        /// <summary>The addresses, ascending.</summary>
        public IReadOnlyList<string> Addresses { get; }

        /// <summary>Bytes of strokes that the pen holds, cut to 32 bits.</summary>
        public long TotalBytes { get; }
    }

    /// <summary>A connected pen, made by <see cref="PenManager.Connect"/>.</summary>
    /// <remarks>
    /// Calls block until the pen's service answered; there is no time limit, so use a task for what must not hold up
    /// your program. A pen may be used by several threads; their calls take turns. Properties ask the pen each time they
    /// are read. A pen that is lost throws <see cref="PenCommunicationException"/> from then on; dispose of it, and
    /// connect anew when it has arrived again. All texts are UTF-8 on the pen; bytes that are none become U+FFFD.
    /// </remarks>
    public sealed class Pen : IDisposable
    {
        private static readonly DateTimeOffset Epoch = new DateTimeOffset(1970, 1, 1, 0, 0, 0, TimeSpan.Zero);

        private readonly PenHandle handle;

        internal Pen(PenInfo info, PenHandle handle)
        {
            Info = info;
            this.handle = handle;
        }

        private delegate uint Command(PenHandle pen);

        private delegate uint NumberGetter<T>(PenHandle pen, out T number);

        /// <summary>The announcement that this connection was made from.</summary>
        public PenInfo Info { get; }

        /// <summary>Whether the pen was disposed of.</summary>
        public bool IsClosed => handle.IsClosed;

        /// <summary>The serial text, as announced. No exchange with the pen.</summary>
        public string Serial => Text("zelGetPenSerial", NativeMethods.zelGetPenSerial);

        /// <summary>The product name.</summary>
        /// <exception cref="PenArgumentException">The pen has none.</exception>
        public string ProductName => Text("zelGetPenProductName", NativeMethods.zelGetPenProductName);

        /// <summary>Four of the revision texts.</summary>
        public Revisions Revisions => handle.Use("zelGetPenRevisions", () =>
        {
            Native.Check(
                NativeMethods.zelGetPenRevisions(handle, out IntPtr r0, out IntPtr r1, out IntPtr r3, out IntPtr r5),
                "zelGetPenRevisions");
            return new Revisions(
                Native.TakeText(r0), Native.TakeText(r1), Native.TakeText(r3), Native.TakeText(r5));
        });

        /// <summary>The pen's clock.</summary>
        public DateTimeOffset Time
        {
            get => Clock(0);
            set => Do("zelSetTime", pen => NativeMethods.zelSetTime(pen, Millis(value)));
        }

        /// <summary>The host's clock as the pen last saw it.</summary>
        public DateTimeOffset SystemTime => Clock(1);

        /// <summary>Whether Bluetooth is on.</summary>
        public bool BluetoothEnabled
        {
            get => Flag("zelGetBluetoothEnabled", NativeMethods.zelGetBluetoothEnabled);
            set => Do("zelSetBluetoothEnabled", pen => NativeMethods.zelSetBluetoothEnabled(pen, Byte(value)));
        }

        /// <summary>Whether the pen may be discovered over Bluetooth.</summary>
        public bool BluetoothDiscoverable
        {
            get => Flag("zelGetBluetoothDiscoverableAllowed", NativeMethods.zelGetBluetoothDiscoverableAllowed);
            set => Do(
                "zelSetBluetoothDiscoverableAllowed",
                pen => NativeMethods.zelSetBluetoothDiscoverableAllowed(pen, Byte(value)));
        }

        /// <summary>The Bluetooth PIN, empty when there is none. Setting takes 4 to 16 digits.</summary>
        public string BluetoothPin
        {
            get => Text("zelGetBluetoothPin", NativeMethods.zelGetBluetoothPin);
            set
            {
                byte[] pin = Native.Text(value, nameof(value));
                Do("zelSetBluetoothPin", pen => NativeMethods.zelSetBluetoothPin(pen, pin));
            }
        }

        /// <summary>After how long the pen switches itself off, in the pen's own unit.</summary>
        public ushort AutoPowerOff
        {
            get => Number<ushort>("zelGetAutoPowerOff", NativeMethods.zelGetAutoPowerOff);
            set => Do("zelSetAutoPowerOff", pen => NativeMethods.zelSetAutoPowerOff(pen, value));
        }

        /// <summary>After how long the pen wakes by itself: zero (never), or a minute to a day.</summary>
        public TimeSpan WakeUpTime
        {
            get => TimeSpan.FromSeconds(Number<uint>("zelGetWakeUpTime", NativeMethods.zelGetWakeUpTime));
            set
            {
                double seconds = value.TotalSeconds;
                if (seconds < 0 || seconds > uint.MaxValue)
                {
                    throw new ArgumentOutOfRangeException(nameof(value));
                }
                Do("zelSetWakeUpTime", pen => NativeMethods.zelSetWakeUpTime(pen, (uint)seconds));
            }
        }

        /// <summary>The battery's five numbers, in the pen's order; 65535 is unknown.</summary>
        public IReadOnlyList<int> Battery => handle.Use<IReadOnlyList<int>>("zelGetBatteryStatus", () =>
        {
            Native.Check(
                NativeMethods.zelGetBatteryStatus(
                    handle, out ushort v0, out ushort v1, out ushort v2, out ushort v3, out ushort v4),
                "zelGetBatteryStatus");
            return new int[] { v0, v1, v2, v3, v4 };
        });

        /// <summary>How much of the memory is used.</summary>
        public PenMemory Memory => handle.Use("zelGetMemoryStatus", () =>
        {
            Native.Check(NativeMethods.zelGetMemoryStatus(handle, out ulong used, out ulong total), "zelGetMemoryStatus");
            return new PenMemory(used, total);
        });

        /// <summary>Whether the pen deletes strokes securely.</summary>
        public bool SecureDelete => Flag("zelGetSecureDeleteEnabled", NativeMethods.zelGetSecureDeleteEnabled);

        /// <summary>The three texts of the owner.</summary>
        public UserData UserData
        {
            get => handle.Use("zelGetUserData", () =>
            {
                Native.Check(
                    NativeMethods.zelGetUserData(handle, out IntPtr a, out IntPtr b, out IntPtr c), "zelGetUserData");
                return new UserData(Native.TakeText(a), Native.TakeText(b), Native.TakeText(c));
            });
            set
            {
                byte[] a = Native.Text(value?.A, "A");
                byte[] b = Native.Text(value.B, "B");
                byte[] c = Native.Text(value.C, "C");
                Do("zelSetUserData", pen => NativeMethods.zelSetUserData(pen, a, b, c));
            }
        }

        /// <summary>Whether the pen is locked.</summary>
        public bool IsLocked => Flag("zelGetPenLockedStatus", NativeMethods.zelGetPenLockedStatus);

        /// <summary>The hint to the password.</summary>
        public string PasswordHint => Text("zelGetPasswordHint", NativeMethods.zelGetPasswordHint);

        /// <summary>The pages that hold strokes.</summary>
        public PageList Pages => handle.Use("zelGetPageList", () =>
        {
            Native.Check(NativeMethods.zelGetPageList(handle, out IntPtr text, out uint total), "zelGetPageList");
            string[] addresses = Native.TakePageList(text).Split(new[] { ';' }, StringSplitOptions.RemoveEmptyEntries);
            return new PageList(addresses, total);
        });

        /// <summary>Whether the pen holds a certificate authenticator. Needs software 0x0503 or newer, like every
        /// certificate, key and encrypted data.</summary>
        public bool HasCertificateAuthenticator =>
            Flag("zelHasCertificateAuthenticator", NativeMethods.zelHasCertificateAuthenticator);

        /// <summary>Whether the pen holds a signing key.</summary>
        public bool HasSigningKey => Flag("zelHasSigningKey", NativeMethods.zelHasSigningKey);

        /// <summary>What describes the certificate.</summary>
        public CertificateInfo CertificateInfo => handle.Use("zelGetCertificateInfo", () =>
        {
            Native.Check(
                NativeMethods.zelGetCertificateInfo(handle, out ushort number, out ulong value1, out ulong value2),
                "zelGetCertificateInfo");
            return new CertificateInfo(number, value1, value2);
        });

        /// <summary>Whether the pen holds encrypted data.</summary>
        public bool HasEncryptedData => Flag("zelHasEncryptedData", NativeMethods.zelHasEncryptedData);

        /// <summary>Disconnects. Waits for a call that another thread has running.</summary>
        public void Dispose() => handle.CloseNow();

        /// <summary>Unlocks the pen.</summary>
        /// <param name="password">Its password.</param>
        /// <exception cref="PenArgumentException">The password is wrong.</exception>
        public void Unlock(string password)
        {
            byte[] bytes = Native.Text(password, nameof(password));
            Do("zelUnlockPen", pen => NativeMethods.zelUnlockPen(pen, bytes));
        }

        /// <summary>Sets the password and its hint.</summary>
        /// <param name="current">The password in force, empty when there is none.</param>
        /// <param name="newPassword">1 to 31 bytes.</param>
        /// <param name="hint">At most 255 bytes.</param>
        public void SetPassword(string current, string newPassword, string hint)
        {
            byte[] old = Native.Text(current, nameof(current));
            byte[] next = Native.Text(newPassword, nameof(newPassword));
            byte[] help = Native.Text(hint, nameof(hint));
            Do("zelSetPasswordData", pen => NativeMethods.zelSetPasswordData(pen, old, next, help));
        }

        /// <summary>Removes the password and its hint.</summary>
        /// <param name="current">The password in force.</param>
        public void RemovePassword(string current)
        {
            byte[] old = Native.Text(current, nameof(current));
            Do("zelRemovePasswordData", pen => NativeMethods.zelRemovePasswordData(pen, old));
        }

        /// <summary>
        /// Fetches pages with their strokes, the stylo pages and the properties that identify the pen. Blocks for an
        /// exchange per page.
        /// </summary>
        /// <param name="pages">The pages' addresses; all pages when left out.</param>
        /// <param name="progress">Told before the first page and after each, on this thread. It must not use this pen.
        /// Its exception is thrown here, once the retrieval has ended.</param>
        /// <exception cref="ArgumentException">An address makes no sense, or the pen has no such page.</exception>
        /// <exception cref="PenBusyException">Another program fetches pages; try again later.</exception>
        public PageData Fetch(
            [AllowNull] IEnumerable<string> pages = null, [AllowNull] IProgress<FetchProgress> progress = null)
        {
            if (pages == null)
            {
                return new PageData(Retrieve("zelGetAllPages", null, progress));
            }
            List<string> wanted = pages.Select(PageAddress.Normalize).Distinct().ToList();
            IReadOnlyList<string> present = Pages.Addresses;
            List<string> missing = wanted.Except(present).ToList();
            if (missing.Count > 0)
            {
                throw new ArgumentException("The pen has no page " + string.Join(", ", missing) + ".", nameof(pages));
            }
            // The library takes each page whose address occurs anywhere in the list, and demands as many pages as are
            // listed: 1.2.3.4 comes along with 11.2.3.45. Such pages are asked for too, and taken out again.
            List<string> beside = present.Except(wanted)
                .Where(page => wanted.Any(one => one.IndexOf(page, StringComparison.Ordinal) >= 0)).ToList();
            byte[] list = Encoding.ASCII.GetBytes(string.Join(";", wanted.Concat(beside)) + "\0");
            var data = new PageData(Retrieve("zelGetPages", list, progress));
            return beside.Count == 0 ? data : data.Without(beside);
        }

        /// <summary>Fetches pages in a task; otherwise as <see cref="Fetch"/>.</summary>
        /// <param name="pages">The pages' addresses; all pages when left out.</param>
        /// <param name="progress">Told before the first page and after each.</param>
        /// <param name="cancellation">Ends the call before it begins; a retrieval that runs is not interrupted.</param>
        public Task<PageData> FetchAsync(
            [AllowNull] IEnumerable<string> pages = null,
            [AllowNull] IProgress<FetchProgress> progress = null,
            CancellationToken cancellation = default(CancellationToken)) =>
            Task.Run(() => Fetch(pages, progress), cancellation);

        /// <summary>Removes the strokes of a page from the pen.</summary>
        /// <param name="address">Its address; trailing numbers may be "*": "1.2.*.*".</param>
        public void RemovePage(string address)
        {
            byte[] bytes = Native.Text(address, nameof(address));
            Do("zelRemovePage", pen => NativeMethods.zelRemovePage(pen, bytes));
        }

        /// <summary>Removes all strokes from the pen.</summary>
        public void RemoveAllStrokes() => Do("zelRemoveAllStrokes", NativeMethods.zelRemoveAllStrokes);

        /// <summary>Installs the certificate authenticator.</summary>
        /// <param name="data1">The first part; may be empty.</param>
        /// <param name="data2">The second part; at least one byte.</param>
        public void InstallCertificateAuthenticator(byte[] data1, byte[] data2)
        {
            Native.Data(data1, nameof(data1));
            Native.Data(data2, nameof(data2));
            Do("zelInstallCertificateAuthenticator", pen => NativeMethods.zelInstallCertificateAuthenticator(
                pen, data1, (uint)data1.Length, data2, (uint)data2.Length));
        }

        /// <summary>Installs the signing key.</summary>
        /// <param name="number">Passed on to the pen with the key.</param>
        /// <param name="parts">Eight parts, any of them empty.</param>
        public void InstallSigningKey(ushort number, IReadOnlyList<byte[]> parts)
        {
            if (parts == null || parts.Count != 8 || parts.Any(part => part == null))
            {
                throw new ArgumentException("A signing key has eight parts.", nameof(parts));
            }
            byte[][] p = parts.ToArray();
            Do("zelInstallSigningKey", pen => NativeMethods.zelInstallSigningKey(
                pen, number, p[0], (uint)p[0].Length, p[1], (uint)p[1].Length, p[2], (uint)p[2].Length, p[3],
                (uint)p[3].Length, p[4], (uint)p[4].Length, p[5], (uint)p[5].Length, p[6], (uint)p[6].Length, p[7],
                (uint)p[7].Length));
        }

        /// <summary>Removes the signing key.</summary>
        public void ClearSigningKey() => Do("zelClearSigningKey", NativeMethods.zelClearSigningKey);

        /// <summary>Installs the certificate.</summary>
        /// <param name="data">The certificate.</param>
        public void InstallCertificate(byte[] data)
        {
            Native.Data(data, nameof(data));
            Do("zelInstallCertificate", pen => NativeMethods.zelInstallCertificate(pen, data, (uint)data.Length));
        }

        /// <summary>Removes the certificate.</summary>
        public void ClearCertificate() => Do("zelClearCertificate", NativeMethods.zelClearCertificate);

        /// <summary>Fetches the encrypted data.</summary>
        /// <param name="argument">Handed on to zelGetEncryptedData, where it has no effect.</param>
        /// <exception cref="PenArgumentException">There is none.</exception>
        public byte[] GetEncryptedData(ulong argument = 0) => handle.Use("zelGetEncryptedData", () => Native.TakeBlock(
            (out IntPtr data, out uint length) =>
                NativeMethods.zelGetEncryptedData(handle, argument, out data, out length),
            "zelGetEncryptedData"));

        /// <summary>Removes the encrypted data.</summary>
        public void ClearEncryptedData() => Do("zelClearEncryptedData", NativeMethods.zelClearEncryptedData);

        private static byte Byte(bool flag) => flag ? (byte)1 : (byte)0;

        private static ulong Millis(DateTimeOffset moment)
        {
            if (moment < Epoch)
            {
                throw new ArgumentOutOfRangeException(nameof(moment), "Pens know no time before 1970.");
            }
            return (ulong)(moment - Epoch).Ticks / TimeSpan.TicksPerMillisecond;
        }

        private DateTimeOffset Clock(int which) => handle.Use("zelGetTime", () =>
        {
            Native.Check(NativeMethods.zelGetTime(handle, out ulong pen, out ulong system), "zelGetTime");
            ulong millis = which == 0 ? pen : system;
            if (millis > (ulong)(DateTimeOffset.MaxValue - Epoch).TotalMilliseconds)
            {
                throw ZelException.From(
                    (uint)ResultCode.Unexpected, "zelGetTime", $"The pen's clock says {millis} ms, which is no date.");
            }
            return Epoch.AddMilliseconds(millis);
        });

        private void Do(string operation, Command command)
        {
            using (handle.Enter(operation))
            {
                Native.Check(command(handle), operation);
            }
        }

        private string Text(string operation, Native.TextGetter getter)
        {
            using (handle.Enter(operation))
            {
                Native.Check(getter(handle, out IntPtr text), operation);
                return Native.TakeText(text);
            }
        }

        private bool Flag(string operation, Native.FlagGetter getter)
        {
            using (handle.Enter(operation))
            {
                Native.Check(getter(handle, out byte flag), operation);
                return flag != 0;
            }
        }

        private T Number<T>(string operation, NumberGetter<T> getter)
        {
            using (handle.Enter(operation))
            {
                Native.Check(getter(handle, out T number), operation);
                return number;
            }
        }

        private byte[] Retrieve(string operation, byte[] list, IProgress<FetchProgress> progress)
        {
            Exception failure = null;
            NativeProgress report = null;
            if (progress != null)
            {
                report = (penText, soFar, total) =>
                {
                    try
                    {
                        if (failure == null)
                        {
                            progress.Report(new FetchProgress(soFar, total));
                        }
                    }
                    catch (Exception thrown)
                    {
                        failure = thrown; // none may pass through native code
                    }
                };
            }
            byte[] bytes = handle.Use(operation, () => Native.TakeBlock(
                (out IntPtr data, out uint length) => list == null
                    ? NativeMethods.zelGetAllPages(handle, report, out data, out length)
                    : NativeMethods.zelGetPages(handle, list, report, out data, out length),
                operation));
            GC.KeepAlive(report);
            if (failure != null)
            {
                System.Runtime.ExceptionServices.ExceptionDispatchInfo.Capture(failure).Throw();
            }
            return bytes;
        }
    }
}
