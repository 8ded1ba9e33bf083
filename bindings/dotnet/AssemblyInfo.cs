using System.Runtime.CompilerServices;

[assembly: InternalsVisibleTo("VelkUploadTests")]
