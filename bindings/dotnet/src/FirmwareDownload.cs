using System;
using System.Diagnostics;
using System.Threading;

namespace Zel
{
    /// <summary>One download, from an idle pen to one that runs the image.</summary>
    internal sealed class FirmwareDownload
    {
        private const string Operation = "Zel.Firmware";
        private const int UsualBlock = 1024; // for a pen that names no size

        private readonly UpgradePen pen;
        private readonly byte[] image;
        private readonly IProgress<DownloadProgress> progress;
        private readonly CancellationToken cancellation;
        private readonly UpgradeDescriptor descriptor;
        private int sent;

        internal FirmwareDownload(
            UpgradePen pen, byte[] image, IProgress<DownloadProgress> progress, CancellationToken cancellation)
        {
            this.pen = pen;
            this.image = image;
            this.progress = progress;
            this.cancellation = cancellation;
            descriptor = pen.Descriptor;
            if (!descriptor.CanDownload)
            {
                throw ZelException.From((uint)ResultCode.NotSupported, Operation, "The pen takes no images.");
            }
        }

        internal void Run()
        {
            MakeIdle();
            int number = 0;
            try
            {
                Report();
                int size = descriptor.TransferSize == 0 ? UsualBlock : descriptor.TransferSize;
                while (sent < image.Length)
                {
                    cancellation.ThrowIfCancellationRequested();
                    var block = new ArraySegment<byte>(image, sent, Math.Min(size, image.Length - sent));
                    pen.SendBlock(number++, block);
                    UpgradeStatus status = Settled();
                    if (status.State != UpgradeState.DownloadIdle)
                    {
                        throw Failure(status);
                    }
                    sent += block.Count;
                    Report();
                }
                cancellation.ThrowIfCancellationRequested();
            }
            catch (Exception reason)
            {
                GiveUp(!(reason is ZelException));
                throw;
            }
            Manifest(number);
        }

        /// <summary>As long as the pen says, and at least a moment. A wait of the runtime may end a little early, and a
        /// pen that is asked too early takes that for a fault.</summary>
        private void Pause(UpgradeStatus status)
        {
            Stopwatch waited = Stopwatch.StartNew();
            double all = Math.Max(1, status.PollTimeout.TotalMilliseconds);
            for (double left = all; left > 0; left = all - waited.Elapsed.TotalMilliseconds)
            {
                cancellation.WaitHandle.WaitOne((int)Math.Ceiling(left));
                cancellation.ThrowIfCancellationRequested();
            }
        }

        private void Report() => progress?.Report(new DownloadProgress(sent, image.Length));

        /// <summary>A download begins in dfuIDLE; what an earlier one left behind is cleared away.</summary>
        private void MakeIdle()
        {
            UpgradeState state = pen.Status.State;
            if (state == UpgradeState.Error)
            {
                pen.ClearStatus();
            }
            else if (state == UpgradeState.DownloadIdle || state == UpgradeState.UploadIdle)
            {
                pen.Abort();
            }
            state = pen.Status.State;
            if (state != UpgradeState.Idle)
            {
                throw ZelException.From(
                    (uint)ResultCode.Unexpected, Operation, $"The pen is not ready for an image: its state is {state}.");
            }
        }

        private void Manifest(int number)
        {
            pen.SendBlock(number, new ArraySegment<byte>(new byte[0]));
            UpgradeStatus status = Settled();
            if (status.State == UpgradeState.Manifest || status.State == UpgradeState.ManifestWaitReset)
            {
                Pause(status);
                try
                {
                    pen.ResetPort();
                }
                catch (PenCommunicationException)
                {
                    // The pen has the whole image, and one that restarts at once may not answer any more.
                }
            }
            else if (status.State != UpgradeState.Idle)
            {
                throw Failure(status);
            }
        }

        /// <summary>Asks until the pen has done what it is at, waiting in between as long as it says.</summary>
        private UpgradeStatus Settled()
        {
            for (;;)
            {
                UpgradeStatus status = pen.Status;
                if (status.Failed)
                {
                    throw Failure(status);
                }
                // A pen that is not tolerant of manifestation cannot be asked after it, only be reset.
                bool busy = status.State == UpgradeState.DownloadSync || status.State == UpgradeState.DownloadBusy ||
                    status.State == UpgradeState.ManifestSync ||
                    (status.State == UpgradeState.Manifest && descriptor.ManifestationTolerant);
                if (!busy)
                {
                    return status;
                }
                Pause(status);
            }
        }

        private ZelException Failure(UpgradeStatus status) => ZelException.From(
            (uint)ResultCode.Unexpected,
            Operation,
            $"The pen stopped after {sent} bytes: {status.Text} (status {status.Status}, {status.State}).");

        /// <summary>A fault of the pen's own is left to be asked for. One that is busy takes the abort for an
        /// error.</summary>
        private void GiveUp(bool clears)
        {
            try
            {
                pen.Abort();
            }
            catch (ZelException)
            {
                if (clears)
                {
                    ClearStatus();
                }
            }
        }

        private void ClearStatus()
        {
            try
            {
                pen.ClearStatus();
            }
            catch (ZelException)
            {
                // The reason that led here counts.
            }
        }
    }
}
