// Documents to record, of any type, that follow from a number.
#pragma once

#include <string>

namespace sample_set {

/// What a sample document says; the rest of it follows from the number.
struct Sample
{
    int number = 1;
    std::string type = "oracle"; ///< oracle, oracle_arch, oracle_exp, file
    std::string name = "nightly";
    std::string host = "db1";
    int pieces = 3;
    int storages = 2; ///< the first one online, the others replicas
    std::string start = "2024-05-01 22:00:00";
    std::string extra = {}; ///< further members, each with a comma before it
};

/// The UUID of the sample with this number.
std::string sample_uuid(int number);

/// The UUID of the `index`th pool of all samples, from 0.
std::string pool_uuid(int index);

/// A document as a program that links the library writes it, with `extra` behind.
std::string document(const Sample& sample);
std::string document(int number);

/// Documents from `first` on, one a line.
std::string documents(int first, int count);

} // namespace sample_set
