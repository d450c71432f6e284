using System;
using System.Collections.Generic;
using System.Globalization;
using System.Linq;

namespace Zel
{
    /// <summary>The text form of page addresses.</summary>
    internal static class PageAddress
    {
        private static readonly int[] Shifts = { 52, 40, 24, 12, 0 };
        private static readonly int[] Widths = { 12, 12, 16, 12, 12 };

        /// <summary>Numbers that are missing are "*", and a first 0 is left out.</summary>
        internal static string ToText(ulong raw)
        {
            var numbers = new List<string>();
            for (var i = 0; i < Shifts.Length; ++i)
            {
                ulong missing = (1ul << Widths[i]) - 1;
                ulong number = raw >> Shifts[i] & missing;
                numbers.Add(number == missing ? "*" : number.ToString(CultureInfo.InvariantCulture));
            }
            return string.Join(".", numbers[0] == "0" ? numbers.Skip(1) : numbers);
        }

        /// <summary>The address as pens list it: "0.1.2.3.4" is "1.2.3.4".</summary>
        internal static string Normalize(string text)
        {
            string[] parts = text?.Split('.') ?? throw new ArgumentNullException(nameof(text));
            int skipped = Widths.Length - parts.Length;
            bool good = (skipped == 0 || skipped == 1) &&
                parts.Select((part, i) => IsNumber(part, Widths[i + skipped])).All(fits => fits);
            if (!good)
            {
                throw new ArgumentException(
                    $"\"{text}\" is no page address; it should look like 1.2.3.4 or 1.2.3.4.5.", nameof(text));
            }
            return skipped == 0 && parts[0] == "0" ? text.Substring(2) : text;
        }

        private static bool IsNumber(string part, int width) =>
            part.Length > 0 && part.Length <= 5 && part.All(c => c >= '0' && c <= '9') &&
            (part.Length == 1 || part[0] != '0') &&
            int.Parse(part, CultureInfo.InvariantCulture) < (1 << width) - 1;
    }
}
