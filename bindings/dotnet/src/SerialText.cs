namespace Zel
{
    /// <summary>The serial text of a pen's 64-bit identity.</summary>
    internal static class SerialText
    {
        private const string Digits = "ABCDEFGHJKMNPQRSTUWXYZ23456789";

        internal static string Of(ulong penId)
        {
            if (penId == ulong.MaxValue)
            {
                return "INVALID-PEN-ID";
            }
            string middle = InDigits((uint)penId, 6);
            return string.Join(
                "-",
                InDigits((uint)(penId >> 32), 3),
                middle.Substring(0, 3),
                middle.Substring(3),
                InDigits((uint)(penId % 877), 2));
        }

        private static string InDigits(uint number, int width)
        {
            ulong widened = unchecked((ulong)(int)number); // a signed 32-bit number, widened
            var text = new char[width];
            for (int i = width - 1; i >= 0; --i)
            {
                text[i] = Digits[(int)(widened % (ulong)Digits.Length)];
                widened /= (ulong)Digits.Length;
            }
            return new string(text);
        }
    }
}
