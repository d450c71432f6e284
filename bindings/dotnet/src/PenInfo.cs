using System;

namespace Zel
{
    /// <summary>A pen that is or was present, as it was announced.</summary>
    public sealed class PenInfo
    {
        internal PenInfo(string serial, ulong penId, int vendorId, int productId, RecordHandle record)
        {
            Serial = serial;
            PenId = penId;
            VendorId = vendorId;
            ProductId = productId;
            Record = record;
        }

        /// <summary>The serial text, "AKZ-AQ7-APS-AC".</summary>
        public string Serial { get; }

        /// <summary>The 64-bit identity behind the serial text.</summary>
        public ulong PenId { get; }

        /// <summary>USB vendor id; 0 if none was announced, and in firmware-upgrade mode.</summary>
        public int VendorId { get; }

        /// <summary>USB product id; 0 if none was announced, and in firmware-upgrade mode.</summary>
        public int ProductId { get; }

        internal RecordHandle Record { get; }

        /// <summary>The serial text.</summary>
        public override string ToString() => Serial;
    }

    /// <summary>An arrival or a departure.</summary>
    public sealed class PenEventArgs : EventArgs
    {
        internal PenEventArgs(PenInfo pen, bool arrived, bool repeated)
        {
            Pen = pen;
            Arrived = arrived;
            Repeated = repeated;
        }

        /// <summary>The pen.</summary>
        public PenInfo Pen { get; }

        /// <summary>Whether the pen arrived; otherwise it departed.</summary>
        public bool Arrived { get; }

        /// <summary>
        /// The pen service announced all its pens once more, for instance after a restart: this pen is still there, or
        /// was not repeated and is gone. Connections made before may be lost.
        /// </summary>
        public bool Repeated { get; }
    }

    /// <summary>Is told of pens with locks held, so it only takes a note.</summary>
    internal interface IPenObserver
    {
        void Observe(PenEventArgs happened);
    }
}
