using System;
using System.Diagnostics.CodeAnalysis;
using System.Threading;
using System.Threading.Tasks;

namespace Zel
{
    /// <summary>The states of USB's device firmware upgrade class.</summary>
    public enum UpgradeState
    {
        /// <summary>The application runs.</summary>
        AppIdle = 0,

        /// <summary>The application waits for a reset.</summary>
        AppDetach = 1,

        /// <summary>Ready for requests.</summary>
        Idle = 2,

        /// <summary>A block arrived; the status is waited for.</summary>
        DownloadSync = 3,

        /// <summary>A block is being programmed.</summary>
        DownloadBusy = 4,

        /// <summary>Ready for the next block.</summary>
        DownloadIdle = 5,

        /// <summary>The last block arrived; the status is waited for.</summary>
        ManifestSync = 6,

        /// <summary>The image is being put to use.</summary>
        Manifest = 7,

        /// <summary>A reset is waited for.</summary>
        ManifestWaitReset = 8,

        /// <summary>An upload is under way.</summary>
        UploadIdle = 9,

        /// <summary>A fault is reported.</summary>
        Error = 10,
    }

    /// <summary>The status record of an upgrade.</summary>
    public sealed class UpgradeStatus
    {
        // As in zel/firmware.hpp; a test compares the two tables.
        internal static readonly string[] Texts =
        {
            "no error",
            "the image is not meant for this device",
            "the image failed a check of its origin or content",
            "the memory cannot be written",
            "the memory cannot be erased",
            "the memory is not empty after it was erased",
            "the memory cannot be programmed",
            "what was programmed reads back differently",
            "an address is out of range",
            "the image ended too early",
            "the firmware is damaged; the device cannot leave this mode",
            "a fault of the maker's own kind",
            "an unexpected USB reset",
            "an unexpected power-on reset",
            "something unknown went wrong",
            "an unexpected request",
        };

        internal UpgradeStatus(byte[] record)
        {
            Status = record[0];
            PollTimeout = TimeSpan.FromMilliseconds(record[1] | record[2] << 8 | record[3] << 16);
            State = (UpgradeState)record[4];
        }

        /// <summary>0, or the number of a fault.</summary>
        public int Status { get; }

        /// <summary>How long to wait before the next request.</summary>
        public TimeSpan PollTimeout { get; }

        /// <summary>The state.</summary>
        public UpgradeState State { get; }

        /// <summary>Whether the pen reports a fault.</summary>
        public bool Failed => Status != 0 || State == UpgradeState.Error;

        /// <summary>The status in words.</summary>
        public string Text => Status < Texts.Length ? Texts[Status] : $"unknown fault {Status}";
    }

    /// <summary>What a pen can do in firmware-upgrade mode.</summary>
    public sealed class UpgradeDescriptor
    {
        private readonly int attributes;

        internal UpgradeDescriptor(byte[] record)
        {
            // With length and type in front it ends before the version, without them it has it at its end.
            int from = record[0] == record.Length && record[1] == 0x21 ? 2 : 0;
            attributes = record[from];
            DetachTimeout = TimeSpan.FromMilliseconds(record[from + 1] | record[from + 2] << 8);
            TransferSize = record[from + 3] | record[from + 4] << 8;
        }

        /// <summary>Whether the pen takes images.</summary>
        public bool CanDownload => (attributes & 1) != 0;

        /// <summary>Whether the pen answers while it puts an image to use.</summary>
        public bool ManifestationTolerant => (attributes & 4) != 0;

        /// <summary>How long the pen waits for a reset once it was detached.</summary>
        public TimeSpan DetachTimeout { get; }

        /// <summary>Bytes in a block; 0 if the pen names none.</summary>
        public int TransferSize { get; }
    }

    /// <summary>How far a firmware download has come.</summary>
    public struct DownloadProgress
    {
        internal DownloadProgress(int bytesSent, int bytesTotal)
        {
            BytesSent = bytesSent;
            BytesTotal = bytesTotal;
        }

        /// <summary>Bytes sent.</summary>
        public int BytesSent { get; }

        /// <summary>Bytes of the image.</summary>
        public int BytesTotal { get; }
    }

    /// <summary>A connected pen in firmware-upgrade mode, made by <see cref="UpgradeManager.Connect"/>.</summary>
    public sealed class UpgradePen : IDisposable
    {
        private readonly PenHandle handle;

        internal UpgradePen(PenInfo info, PenHandle handle)
        {
            Info = info;
            this.handle = handle;
        }

        private delegate uint Command(PenHandle pen);

        /// <summary>The announcement that this connection was made from.</summary>
        public PenInfo Info { get; }

        /// <summary>The state of the upgrade.</summary>
        public UpgradeState State => handle.Use("zelDfuGetState", () =>
        {
            Native.Check(NativeMethods.zelDfuGetState(handle, out int state), "zelDfuGetState");
            return (UpgradeState)state;
        });

        /// <summary>The status record.</summary>
        public UpgradeStatus Status => handle.Use("zelDfuGetStatus", () =>
        {
            var record = new byte[6];
            Native.Check(NativeMethods.zelDfuGetStatus(handle, record), "zelDfuGetStatus");
            return new UpgradeStatus(record);
        });

        /// <summary>The functional descriptor.</summary>
        public UpgradeDescriptor Descriptor => handle.Use("zelDfuGetFunctionalDescriptor", () =>
        {
            var record = new byte[7];
            Native.Check(
                NativeMethods.zelDfuGetFunctionalDescriptor(handle, record), "zelDfuGetFunctionalDescriptor");
            return new UpgradeDescriptor(record);
        });

        /// <summary>Disconnects.</summary>
        public void Dispose() => handle.CloseNow();

        /// <summary>Sends one block of an image; an empty one ends it.</summary>
        /// <param name="number">The block's number; it wraps.</param>
        /// <param name="data">At most 65,535 bytes.</param>
        public void SendBlock(int number, ArraySegment<byte> data)
        {
            if (data.Count > ushort.MaxValue)
            {
                throw new ArgumentException("A block has at most 65535 bytes.", nameof(data));
            }
            var block = new byte[4 + data.Count];
            BitConverter.GetBytes((ushort)number).CopyTo(block, 0);
            BitConverter.GetBytes((ushort)data.Count).CopyTo(block, 2);
            Array.Copy(data.Array ?? new byte[0], data.Offset, block, 4, data.Count);
            Do("zelDfuDownload", pen => NativeMethods.zelDfuDownload(pen, block));
        }

        /// <summary>Clears an error status.</summary>
        public void ClearStatus() => Do("zelDfuClearStatus", NativeMethods.zelDfuClearStatus);

        /// <summary>Aborts the upgrade that is under way.</summary>
        public void Abort() => Do("zelDfuAbort", NativeMethods.zelDfuAbort);

        /// <summary>Resets the pen's USB port.</summary>
        public void ResetPort() => Do("zelDfuResetPort", NativeMethods.zelDfuResetPort);

        /// <summary>Lets the pen leave its application for firmware-upgrade mode.</summary>
        public void Detach() => Do("zelDfuDetach", NativeMethods.zelDfuDetach);

        /// <summary>Detaches the pen's boot loader.</summary>
        public void DetachBoot() => Do("zelDfuDetachBoot", NativeMethods.zelDfuDetachBoot);

        /// <summary>Sends a whole image and lets the pen put it to use. Blocks until that is done.</summary>
        /// <param name="image">The image.</param>
        /// <param name="progress">Told before the first block and after each, on this thread. If it throws, the pen is
        /// told to give the image up, and the exception passes on.</param>
        /// <param name="cancellation">Ends the download, also in a pause that the pen asked for; the pen is told to
        /// give the image up, unless it has the whole image. While the pen leaves a request unanswered, this has to
        /// wait.</param>
        /// <exception cref="PenNotSupportedException">The pen takes no images.</exception>
        /// <exception cref="ZelException">The pen reports a fault, named in the message.</exception>
        public void Download(
            byte[] image,
            [AllowNull] IProgress<DownloadProgress> progress = null,
            CancellationToken cancellation = default(CancellationToken))
        {
            new FirmwareDownload(this, Native.Data(image, nameof(image)), progress, cancellation).Run();
        }

        private void Do(string operation, Command command)
        {
            using (handle.Enter(operation))
            {
                Native.Check(command(handle), operation);
            }
        }
    }

    /// <summary>Finds pens in firmware-upgrade mode; used like <see cref="PenManager"/>.</summary>
    /// <remarks>When the pen service goes away, this mode stops listening: then make another instance.</remarks>
    public sealed class UpgradeManager : PenFinder
    {
        /// <summary>Starts to look for pens in firmware-upgrade mode.</summary>
        /// <param name="context">Where handlers run; a thread of this instance when left out.</param>
        public UpgradeManager([AllowNull] SynchronizationContext context = null)
            : base(Core.Upgrades, context)
        {
        }

        /// <summary>Connects to a pen that is present.</summary>
        /// <param name="info">The pen.</param>
        public UpgradePen Connect(PenInfo info)
        {
            if (info == null)
            {
                throw new ArgumentNullException(nameof(info));
            }
            RequireOpen();
            return new UpgradePen(info, PenHandle.Connect(Core, info.Record));
        }
    }

    /// <summary>A whole upgrade in one call.</summary>
    public static class Firmware
    {
        /// <summary>
        /// Waits for a pen in firmware-upgrade mode, sends it an image and lets it put the image to use.
        /// </summary>
        /// <param name="image">The image.</param>
        /// <param name="serial">Which pen; any when left out.</param>
        /// <param name="progress">As for <see cref="UpgradePen.Download"/>.</param>
        /// <param name="timeout">How long to wait for the pen; 10 seconds when left out.</param>
        /// <param name="cancellation">Ends the wait, or the download.</param>
        /// <returns>The pen.</returns>
        /// <exception cref="TimeoutException">No such pen.</exception>
        public static async Task<PenInfo> DownloadAsync(
            byte[] image,
            [AllowNull] string serial = null,
            [AllowNull] IProgress<DownloadProgress> progress = null,
            TimeSpan? timeout = null,
            CancellationToken cancellation = default(CancellationToken))
        {
            using (var manager = new UpgradeManager())
            {
                PenInfo info = await manager.WaitForPenAsync(serial, timeout, cancellation).ConfigureAwait(false);
                await Task.Run(() =>
                {
                    using (UpgradePen pen = manager.Connect(info))
                    {
                        pen.Download(image, progress, cancellation);
                    }
                }).ConfigureAwait(false);
                return info;
            }
        }
    }
}
