// The system's user-facing texts (resource strings), exactly as the user sees them;
// "\r\n" is a carriage return and a line feed. One place, so that front ends and tests use
// the same text the system shows.
#pragma once

// Name validation.
inline constexpr const char sProfileNameBlank[] = "Profile name cannot be blank";
inline constexpr const char sInvalidProfileName[] =
    "'%s' is not a valid profile name.  A profile name must be a valid filename";
inline constexpr const char sDuplicateProfileName[] = "A profile named '%s' already exists";

// Saving a profile whose typed password Encrypt cannot encipher
// (docs/DECISIONS.md); raised as EProfileFileError before anything of the profile is written.
inline constexpr const char sCannotEncipherPassword[] = "Cannot encipher the password of profile '%s'";

// Import over an existing profile.
inline constexpr const char sConfirmImportOverwrite[] =
    "%s.\r\n\r\nImporting this profile will overwrite the existing profile.  Are you sure you want to import this "
    "profile?";

// Default-path files.
inline constexpr const char sNotApplicableForDefaultPaths[] = "Not-applicable for default profile paths";
inline constexpr const char sSavedDefaultPaths[] = "Saved default paths to %s";

// Connection test and operation frame.
inline constexpr const char sConnectionSucceeded[] = "Connection to '%s' on port %d succeeded";
inline constexpr const char sConnectionFailed[] =
    "Connection to '%s' on port %d failed.\r\n\r\nPlease make sure that 'Hestrel' is running on the host machine and "
    "is configured to use port %1:d";
inline constexpr const char sConnectingToRemoteMachine[] = "Connecting to remote machine";

// File transfer.
inline constexpr const char sCopiedBytes[] = "Copied %d of %d bytes";
inline constexpr const char sReceivedBytes[] = "Received %d of %d bytes";
inline constexpr const char sUpdatingRemoteFiles[] = "Updating Remote Files";
inline constexpr const char sUpdatingFilesOnRemote[] = "Updating files on remote machine";
inline constexpr const char sCopyingToRemote[] = "Copying '%s' to remote machine";
inline constexpr const char sRemovingRemoteFiles[] = "Removing Remote Files";
inline constexpr const char sRemovingFilesOnRemote[] = "Removing files on remote machine";
inline constexpr const char sRemovedFile[] = "Removed file '%s'";
inline constexpr const char sCopyingFile[] = "Copying file";
inline constexpr const char sOverwriteQuestionShort[] =
    "File '%s' already exists.\r\nReplace file modified on %s\r\nwith file modified on %s?";
inline constexpr const char sOverwriteQuestionLong[] =
    "File '%s' already exists.\r\nReplace %d byte(s) file modified on %s\r\nwith %d byte(s) file modified on %s?";

// SDK file cache.
inline constexpr const char sUpdatingLocalFileCache[] = "Updating Local File Cache";
inline constexpr const char sUpdatingFilesFromRemote[] = "Updating files from remote machine";
inline constexpr const char sUpdatedFilesFromRemotePath[] = "Updated files from remote path '%s'";

// An operation on a project that needs a profile it has not been given.
inline constexpr const char sProfileRequired[] =
    "A connection profile is required for this operation but has not been assigned.";

// Deploy: the project's compile state.
inline constexpr const char sDeployMustCompile[] = "The project must be compiled before it can be deployed. Continue?";
inline constexpr const char sDeployCompileFailed[] =
    "Unable to deploy the project because it did not successfully compile.";
inline constexpr const char sDeployUnknownError[] = "An unknown error occurred attempting to deploy the project.";
inline constexpr const char sDeployNotSupported[] =
    "Remote deployment is not supported for this project and / or the current platform.";

// Options page and new-profile wizard.
inline constexpr const char sDeleteProfileQuestion[] = "Are you sure you want to delete the profile named '%s'?";
inline constexpr const char sSpecifyPlatform[] = "Please specify a Platform for this profile";
inline constexpr const char sImportedInvalidPlatform[] = "The imported profile has an invalid platform";
// The reference host's own checks that the options page and the wizard call (their texts are the host's).
inline constexpr const char sHostFileOverwrite[] = "File '%s' already exists.  Do you want to replace it?";
inline constexpr const char sHostInvalidPort[] = "'%s' is not a valid port number (a whole number from 0 to 65535)";
inline constexpr const char sHostNameBlank[] = "Host name cannot be blank";
inline constexpr const char sHostPathItemBlank[] = "The path and the file mask of a path item cannot be blank";
