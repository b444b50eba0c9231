/**
 * What the build knows of itself; the source is written by the build (cmake/BuildInfo.cmake).
 */
#pragma once

/**
 * The commit identifier, followed by ", dirty: " and the state and path of each changed file when
 * the work tree was not clean; "unknown" when the sources were not a checkout.
 */
const char* GetCommitHash();

/**
 * The moment of the build as "2024-01-31T12:00:00Z", in UTC. SOURCE_DATE_EPOCH stands in for the
 * clock when it is set, so that two builds of one commit are the same bytes.
 */
const char* GetBuildDate();
