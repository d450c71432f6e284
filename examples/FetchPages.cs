using System;
using Zel;

/// <summary>Fetches the pages of the first pen that is there and saves them: FetchPages.exe FILE</summary>
internal static class FetchPages
{
    private static void Main(string[] arguments)
    {
        using (var manager = new PenManager())
        using (Pen pen = manager.Connect(manager.WaitForPenAsync(timeout: TimeSpan.FromSeconds(30)).Result))
        {
            PageData data = pen.Fetch();
            data.Save(arguments[0]);
            Console.WriteLine($"{pen.Info}: {data.Count} pages saved");
            foreach (Page page in data)
            {
                Console.WriteLine($"{page.Address} {page.Strokes.Count} bytes");
            }
        }
    }
}
