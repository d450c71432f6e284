using System.Reflection;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;

[assembly: AssemblyTitle("Zel")]
[assembly: AssemblyDescription("Finds digital pens and fetches what was written with them")]
[assembly: AssemblyCopyright("Copyright (c) 2026 the zel authors")]
// The native library is looked for beside this assembly and in the system's safe folders only.
[assembly: DefaultDllImportSearchPaths(
    DllImportSearchPath.AssemblyDirectory | DllImportSearchPath.SafeDirectories)]
[assembly: InternalsVisibleTo("Zel.Tests")]

#if NETSTANDARD2_0
namespace System.Diagnostics.CodeAnalysis
{
    /// <summary>Marks what may be null although its type does not say so; .NET Standard 2.0 lacks it.</summary>
    [System.AttributeUsage(System.AttributeTargets.Parameter)]
    internal sealed class AllowNullAttribute : System.Attribute
    {
    }

    /// <summary>Marks what may give null although its type does not say so; .NET Standard 2.0 lacks it.</summary>
    [System.AttributeUsage(System.AttributeTargets.Property)]
    internal sealed class MaybeNullAttribute : System.Attribute
    {
    }
}
#endif
